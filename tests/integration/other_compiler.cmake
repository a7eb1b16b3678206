# Hosts built by the other compiler, against the library of this one. Left out where only one is
# installed.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  find_program(OTHER_CXX_COMPILER NAMES clang++ clang++-14)
else()
  find_program(OTHER_CXX_COMPILER NAMES g++)
endif()
if(NOT OTHER_CXX_COMPILER)
  return()
endif()

# kestrelvisor_other_host(name SOURCES file... LIBRARIES target...)
function(kestrelvisor_other_host name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(program ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(paths)
  foreach(library kestrelvisor_engine kestrelvisor_platform kestrelvisor_messages)
    list(APPEND paths -Wl,-rpath,$<TARGET_FILE_DIR:${library}>)
  endforeach()
  set(files)
  foreach(library IN LISTS arg_LIBRARIES)
    list(APPEND files $<TARGET_FILE:${library}>)
  endforeach()
  add_custom_command(OUTPUT ${program}
    COMMAND ${OTHER_CXX_COMPILER} -std=c++17 -fPIE -pie -I${PROJECT_SOURCE_DIR}
            -I${PROJECT_SOURCE_DIR}/examples -I${PROJECT_BINARY_DIR}/generated/platform/contract
            "-I$<JOIN:$<TARGET_PROPERTY:JsonCpp::JsonCpp,INTERFACE_INCLUDE_DIRECTORIES>,;-I>"
            ${arg_SOURCES} -o ${program} ${files} $<TARGET_FILE:protobuf::libprotobuf>
            -ldl -lpthread ${paths}
    DEPENDS ${arg_SOURCES} kestrelvisor_engine kestrelvisor_platform kestrelvisor_messages
    COMMAND_EXPAND_LISTS VERBATIM)
  add_custom_target(build_${name} DEPENDS ${program})
  add_dependencies(host_process_test build_${name})
endfunction()

set(examples ${PROJECT_SOURCE_DIR}/examples)
kestrelvisor_other_host(other_plugin_host
  SOURCES ${examples}/plugin_host.cpp ${examples}/manager_request.cpp
  LIBRARIES kestrelvisor_platform kestrelvisor_messages)
kestrelvisor_other_host(other_one_engine_probe
  SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/one_engine_probe.cpp
  LIBRARIES kestrelvisor_engine kestrelvisor_platform kestrelvisor_messages)
target_compile_definitions(host_process_test PRIVATE
  OTHER_PLUGIN_HOST="${CMAKE_CURRENT_BINARY_DIR}/other_plugin_host"
  OTHER_ONE_ENGINE_PROBE="${CMAKE_CURRENT_BINARY_DIR}/other_one_engine_probe")
