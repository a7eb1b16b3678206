# Includes run downwards only, each header stands alone, and time has one source.
set(check_includes ${CMAKE_CURRENT_SOURCE_DIR}/check_includes)
function(kestrelvisor_include_test name root)
  add_test(NAME Includes.${name} COMMAND ${check_includes} ${root})
  set_tests_properties(Includes.${name} PROPERTIES LABELS integration TIMEOUT 60 ${ARGN})
endfunction()

set(samples ${CMAKE_CURRENT_SOURCE_DIR}/include_samples)
kestrelvisor_include_test(RunDownwardsAndInNoCircle ${PROJECT_SOURCE_DIR})
kestrelvisor_include_test(CheckFindsAnUpwardArrow ${samples}/upward
  PASS_REGULAR_EXPRESSION "base/new.cpp may not include rest/session_types.h")
kestrelvisor_include_test(CheckFindsAHeaderBesideTheTable ${samples}/beside
  PASS_REGULAR_EXPRESSION "base/vrm_info.h may not include base/log.h")
kestrelvisor_include_test(CheckFindsACircle ${samples}/circle
  PASS_REGULAR_EXPRESSION "includes run in a circle:.*rest/first.h.*rest/second.h")

# Time comes from the two clocks that tests can set.
set(check_clock ${CMAKE_CURRENT_SOURCE_DIR}/check_clock)
function(kestrelvisor_clock_test name root)
  add_test(NAME WallClock.${name} COMMAND ${check_clock} ${root})
  set_tests_properties(WallClock.${name} PROPERTIES LABELS integration TIMEOUT 60 ${ARGN})
endfunction()

kestrelvisor_clock_test(IsReadByItsOwnersAlone ${PROJECT_SOURCE_DIR})
kestrelvisor_clock_test(CheckFindsAnotherReader ${CMAKE_CURRENT_SOURCE_DIR}/clock_sample
  PASS_REGULAR_EXPRESSION "reads the wall clock: rest/login.cpp")

# One unit for each header that a host may include, in the oldest language that hosts use. The
# compiler is the check: no such unit, no build.
if(NOT KESTRELVISOR_SANITIZE AND NOT KESTRELVISOR_COVERAGE)
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/platform/contract/*.h ${PROJECT_SOURCE_DIR}/base/*.h
    ${PROJECT_SOURCE_DIR}/rest/*.h ${PROJECT_SOURCE_DIR}/inventory/*.h
    ${PROJECT_SOURCE_DIR}/tree/*.h ${PROJECT_SOURCE_DIR}/reply/*.h
    ${PROJECT_SOURCE_DIR}/engine/*.h ${PROJECT_SOURCE_DIR}/platform/reference/*.h)
  set(units)
  foreach(header IN LISTS headers)
    string(MAKE_C_IDENTIFIER ${header} unit)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/headers/${unit}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"${header}\"\n")
    list(APPEND units ${unit})
  endforeach()
  add_library(headers_stand_alone OBJECT ${units})
  target_link_libraries(headers_stand_alone
    PRIVATE kestrelvisor_contract CURL::libcurl JsonCpp::JsonCpp Boost::headers
            kestrelvisor_warnings)
  target_include_directories(headers_stand_alone PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(headers_stand_alone PROPERTIES CXX_STANDARD 17)
endif()
