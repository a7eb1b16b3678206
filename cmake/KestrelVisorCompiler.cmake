# How our own code is compiled: ccache when present, warnings, sanitizers, coverage.

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Precompiled headers need these; the base folder lets checkouts in other places share the cache.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
endif()

add_library(kestrelvisor_warnings INTERFACE)
target_compile_options(kestrelvisor_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${KESTRELVISOR_WERROR}>:-Werror>)

# gdb and valgrind read these tables from either compiler.
add_compile_options($<$<CXX_COMPILER_ID:Clang>:-gdwarf-4>)

# Hardening. tests/integration/check_hardening looks for each of these in what ships.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection=full KESTRELVISOR_HAS_CONTROL_FLOW_PROTECTION)
add_compile_options(-fstack-protector-strong)
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
# The checked functions of the C library need optimisation, and sanitizers have checks of their own.
add_compile_options(
  "$<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>"
  $<$<AND:$<BOOL:${KESTRELVISOR_HAS_CONTROL_FLOW_PROTECTION}>,$<NOT:$<CONFIG:Debug>>>:-fcf-protection=full>)

if(KESTRELVISOR_SANITIZE)
  # Instrumented code misleads GCC's flow analysis inside Boost; the plain builds keep this warning.
  target_compile_options(kestrelvisor_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(KESTRELVISOR_SANITIZE MATCHES thread)
    # Asio has fences beside its locks, which ThreadSanitizer does not see; it sees the locks.
    target_compile_options(kestrelvisor_warnings INTERFACE
      $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  endif()
  add_compile_options(-fsanitize=${KESTRELVISOR_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KESTRELVISOR_SANITIZE})
endif()
if(KESTRELVISOR_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
