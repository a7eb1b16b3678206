# Nobody who was built against an earlier version breaks: the libraries' interfaces, as libabigail
# reads them from debug information, are the stored ones, or the version says that they are not.
#
# After a change that the version tells of: "check_interface record" for each library, and the
# version here.
set(stored_version 1.0.0)
set(check_interface ${CMAKE_CURRENT_SOURCE_DIR}/check_interface)

foreach(part engine platform messages)
  kestrelvisor_sdk_test(InterfaceIsTheStoredOneOfThe_${part}
    ${check_interface} compare ${CMAKE_CURRENT_SOURCE_DIR}/interfaces/${part}.abi ${stored_version}
    $<TARGET_FILE:kestrelvisor_${part}> ${PROJECT_VERSION} ${installed}/include/kestrelvisor)
  set_tests_properties(Sdk.InterfaceIsTheStoredOneOfThe_${part} PROPERTIES FIXTURES_REQUIRED sdk)
endforeach()

# The check of the check: a library, the same with one function more, and with one less.
foreach(change none more less)
  add_library(interface_${change} SHARED interface_sample.cpp)
  target_compile_definitions(interface_${change} PRIVATE INTERFACE_${change})
endforeach()

# kestrelvisor_verdict_test(name change version)
function(kestrelvisor_verdict_test name change version)
  kestrelvisor_sdk_test(Interface${name}
    ${check_interface} compare $<TARGET_FILE:interface_none> 1.0.0
    $<TARGET_FILE:interface_${change}> ${version} ${CMAKE_CURRENT_SOURCE_DIR})
  if(ARGN)
    set_tests_properties(Sdk.Interface${name} PROPERTIES ${ARGN})
  endif()
endfunction()

set(refused PASS_REGULAR_EXPRESSION "the version 1\\.[0-9.]+ does not tell of this change")
kestrelvisor_verdict_test(MayNotGrowWithinAMinorVersion more 1.0.1 ${refused})
kestrelvisor_verdict_test(MayGrowWithANewMinorVersion more 1.1.0)
kestrelvisor_verdict_test(MayNotShrinkWithinAMajorVersion less 1.1.0 ${refused})
kestrelvisor_verdict_test(MayShrinkWithANewMajorVersion less 2.0.0)
