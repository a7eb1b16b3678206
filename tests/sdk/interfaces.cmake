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

# The check of the check: a library, and the same with a function more, a function less, and a member
# more.
foreach(change none more less wider)
  add_library(interface_${change} SHARED interface_sample/sample.cpp)
  target_include_directories(interface_${change} PRIVATE ${PROJECT_SOURCE_DIR})
  target_compile_definitions(interface_${change} PRIVATE SAMPLE_${change})
  set_target_properties(interface_${change} PROPERTIES OUTPUT_NAME interface
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/interface_${change})
endforeach()

# kestrelvisor_verdict_test(name change version)
function(kestrelvisor_verdict_test name change version)
  set(stored ${CMAKE_CURRENT_BINARY_DIR}/${name}.abi)
  set(headers ${CMAKE_CURRENT_SOURCE_DIR}/interface_sample)
  kestrelvisor_sdk_test(Interface${name} sh -c
    "'${check_interface}' record '$<TARGET_FILE:interface_none>' '${headers}' '${stored}' && \
     '${check_interface}' compare '${stored}' 1.0.0 \
       '$<TARGET_FILE:interface_${change}>' ${version} '${headers}'")
  if(ARGN)
    set_tests_properties(Sdk.Interface${name} PROPERTIES ${ARGN})
  endif()
endfunction()

set(refused PASS_REGULAR_EXPRESSION "the version 1\\.[0-9.]+ does not tell of this change")
kestrelvisor_verdict_test(MayStayAsItIs none 1.0.0)
kestrelvisor_verdict_test(MayNotGrowWithinAMinorVersion more 1.0.1 ${refused})
kestrelvisor_verdict_test(MayGrowWithANewMinorVersion more 1.1.0)
kestrelvisor_verdict_test(MayNotShrinkWithinAMajorVersion less 1.1.0 ${refused})
kestrelvisor_verdict_test(MayShrinkWithANewMajorVersion less 2.0.0)
kestrelvisor_verdict_test(MayNotBeLaidOutAnewWithinAMajorVersion wider 1.1.0 ${refused})
