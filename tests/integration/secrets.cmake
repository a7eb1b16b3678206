# Memory searched for secrets; sanitizers keep what is freed, and so have no place here.
add_executable(secret_probe secret_probe.cpp)
target_link_libraries(secret_probe
  PRIVATE kestrelvisor::engine kestrelvisor::platform kestrelvisor_warnings)

kestrelvisor_test(secret_memory_test LABEL integration
  SOURCES process_memory.cpp secret_memory_test.cpp
  LIBRARIES integration_support)
target_compile_definitions(secret_memory_test PRIVATE
  SECRET_PROBE="$<TARGET_FILE:secret_probe>" KESTRELCTL="$<TARGET_FILE:kestrelctl>")
add_dependencies(secret_memory_test secret_probe kestrelctl)
