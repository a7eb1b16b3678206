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

# A host's own copies of spdlog's or Boost's templates may be of another version.
add_test(NAME PlatformLibrary.ExportsNoCopiesOfOtherLibraries
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_border own $<TARGET_FILE:kestrelvisor_platform>)
set_tests_properties(PlatformLibrary.ExportsNoCopiesOfOtherLibraries PROPERTIES
  LABELS integration TIMEOUT 60)
