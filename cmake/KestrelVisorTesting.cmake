# kestrelvisor_test(name [LABEL label] [TIMEOUT seconds] SOURCES file... [LIBRARIES target...])
#
# One test binary whose cases ctest lists one by one, by suite and behaviour; sanitized, in parts.
find_package(GTest REQUIRED)
include(GoogleTest)

# Optimising, GCC 12 takes joined texts for writes past their ends and graph iterators for unset ones.
# Tests join a lot of texts, and run under sanitizers anyway; the product's code keeps these warnings.
add_library(kestrelvisor_test_warnings INTERFACE)
target_link_libraries(kestrelvisor_test_warnings INTERFACE kestrelvisor_warnings)
target_compile_options(kestrelvisor_test_warnings INTERFACE
  "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-maybe-uninitialized;-Wno-restrict;-Wno-stringop-overflow;-Wno-stringop-overread>")

# The headers that every test includes are parsed once. The owner is an executable, because a
# precompiled header serves only units compiled as its owner is.
add_executable(kestrelvisor_test_headers ${PROJECT_SOURCE_DIR}/tests/support/test_headers.cpp)
target_link_libraries(kestrelvisor_test_headers PRIVATE GTest::gmock GTest::gtest_main
                      kestrelvisor_test_warnings)
target_include_directories(kestrelvisor_test_headers PRIVATE ${PROJECT_SOURCE_DIR})
target_precompile_headers(kestrelvisor_test_headers PRIVATE
  ${PROJECT_SOURCE_DIR}/tests/support/test_headers.h)

function(kestrelvisor_test name)
  cmake_parse_arguments(arg "" "LABEL;TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT arg_LABEL)
    set(arg_LABEL unit)
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock GTest::gtest_main
                        kestrelvisor_test_warnings)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_precompile_headers(${name} REUSE_FROM kestrelvisor_test_headers)
  if(KESTRELVISOR_SANITIZE)
    kestrelvisor_add_shards(${name} ${arg_LABEL})
  else()
    gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
                         PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT})
  endif()
endfunction()

# A sanitized process takes longer to start and to end than most cases take: those of a binary share a
# few, in which a finding is told with the case's name.
function(kestrelvisor_add_shards name label)
  set(count 8)
  foreach(shard RANGE 1 ${count})
    math(EXPR index "${shard} - 1")
    add_test(NAME ${name}.${shard} COMMAND ${name})
    set_tests_properties(${name}.${shard} PROPERTIES LABELS ${label} TIMEOUT 300
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${count};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
