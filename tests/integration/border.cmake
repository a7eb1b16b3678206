# What the engine library shows to the loader.
function(kestrelvisor_border_test name)
  add_test(NAME EngineLibrary.${name}
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_border ${ARGN})
  set_tests_properties(EngineLibrary.${name} PROPERTIES LABELS integration TIMEOUT 60)
endfunction()

set(library $<TARGET_FILE:kestrelvisor_engine>)
kestrelvisor_border_test(ExportsTheStoredNamesAndNoOthers
  names ${library} ${CMAKE_CURRENT_SOURCE_DIR}/exported_names.txt)
kestrelvisor_border_test(StaysUntilTheProcessEnds nodelete ${library})
kestrelvisor_border_test(LeavesTheContractToTheHost contract ${library})
