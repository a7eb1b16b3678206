# The linked host under valgrind.
find_program(VALGRIND_PROGRAM valgrind REQUIRED)
kestrelvisor_test(host_memory_test LABEL integration
  SOURCES memory_test.cpp
  LIBRARIES integration_support)
target_compile_definitions(host_memory_test PRIVATE
  VALGRIND="${VALGRIND_PROGRAM}" LINKED_HOST="$<TARGET_FILE:linked_host>")
add_dependencies(host_memory_test linked_host)
