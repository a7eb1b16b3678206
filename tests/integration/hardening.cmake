# The protections of what ships, as readelf and nm see them, and a sample without any.
function(kestrelvisor_hardening_test name)
  add_test(NAME Hardening.${name}
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_hardening ${ARGN} COMMAND_EXPAND_LISTS)
  set_tests_properties(Hardening.${name} PROPERTIES LABELS integration TIMEOUT 60)
endfunction()

set(programs kestrelctl vrmsim linked_host plugin_host)
set(shipped kestrelvisor_engine kestrelvisor_messages kestrelvisor_platform ${programs})
list(TRANSFORM shipped REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE files)
kestrelvisor_hardening_test(LinksEverythingForReadOnlyUse linked ${files})
# The messages' generated code has no frame that would need a guard.
list(REMOVE_ITEM files $<TARGET_FILE:kestrelvisor_messages>)
kestrelvisor_hardening_test(GuardsStackFrames guarded ${files})

add_library(unprotected_library SHARED unprotected_sample.cpp)
add_executable(unprotected_program unprotected_sample.cpp)
set_target_properties(unprotected_program PROPERTIES POSITION_INDEPENDENT_CODE OFF)
set(unmarked)
if(KESTRELVISOR_HAS_CONTROL_FLOW_PROTECTION)
  set(unmarked $<TARGET_OBJECTS:unprotected_library>)
endif()
foreach(target unprotected_library unprotected_program)
  target_compile_options(${target} PRIVATE -fno-stack-protector SHELL:-U_FORTIFY_SOURCE
    $<$<BOOL:${KESTRELVISOR_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection=none>)
  target_link_options(${target} PRIVATE -Wl,-z,norelro,-z,lazy,-z,execstack)
endforeach()
kestrelvisor_hardening_test(CheckNoticesWhatIsMissing
  unprotected $<TARGET_FILE:unprotected_library> $<TARGET_FILE:unprotected_program> ${unmarked})

# Neither of these is asked for without optimisation. Only these two libraries copy into or print to
# memory whose size is known.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  return()
endif()
kestrelvisor_hardening_test(ChecksCopiesAndFormats
  fortified $<TARGET_FILE:kestrelvisor_engine> $<TARGET_FILE:kestrelvisor_platform>)
if(KESTRELVISOR_HAS_CONTROL_FLOW_PROTECTION)
  set(objects)
  foreach(target kestrelvisor_engine_core kestrelvisor_messages kestrelvisor_platform
                 kestrelctl_library kestrelctl vrmsim_library vrmsim)
    # A precompiled header counts as an object of its target, but is none.
    list(APPEND objects "$<FILTER:$<TARGET_OBJECTS:${target}>,EXCLUDE,[.]gch$>")
  endforeach()
  kestrelvisor_hardening_test(MarksTargetsOfJumpsAndCalls landings ${objects})
endif()
