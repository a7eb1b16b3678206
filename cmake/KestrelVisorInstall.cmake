# What is installed, in the parts that become packages: library, development, tools, simulator and
# documentation. Nothing in it names the prefix, so that a prefix may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Headers keep their folders, below one that is ours: what a host includes reads as it does in here.
set(include_folder ${CMAKE_INSTALL_INCLUDEDIR}/kestrelvisor)
set(data_folder ${CMAKE_INSTALL_DATADIR}/kestrelvisor)
set(guides_folder ${CMAKE_INSTALL_DATADIR}/doc/kestrelvisor)

# --- Libraries, headers and what find_package reads ---

foreach(part contract messages platform engine)
  set_target_properties(kestrelvisor_${part} PROPERTIES EXPORT_NAME ${part})
endforeach()
install(TARGETS kestrelvisor_contract kestrelvisor_messages kestrelvisor_platform kestrelvisor_engine
  EXPORT kestrelvisor_engine-targets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${include_folder} COMPONENT development
  # CMake before 3.23 knows no file sets.
  INCLUDES DESTINATION ${include_folder})
# Where protoc looks for it: beside the header that is made of it.
install(FILES platform/contract/environment.proto
  DESTINATION ${include_folder} COMPONENT development)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kestrelvisor_engine)
set(package_version ${PROJECT_BINARY_DIR}/kestrelvisor_engine-config-version.cmake)
write_basic_package_version_file(${package_version} COMPATIBILITY SameMajorVersion)
install(FILES cmake/kestrelvisor_engine-config.cmake ${package_version}
  DESTINATION ${package_folder} COMPONENT development)
install(EXPORT kestrelvisor_engine-targets NAMESPACE kestrelvisor::
  DESTINATION ${package_folder} COMPONENT development)

# --- pkg-config: a file for each library, as there is a target for each ---

cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE prefix_from_pkgconfig)
function(kestrelvisor_pkgconfig part description requires)
  set(file ${PROJECT_BINARY_DIR}/pkgconfig/kestrelvisor_${part}.pc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/kestrelvisor.pc.in ${file} @ONLY)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
# The messages' header fits the version of Protocol Buffers that made it, and no other.
string(REGEX MATCH "^([0-9]+)[.]([0-9]+)" protobuf ${Protobuf_VERSION})
math(EXPR next_minor "${CMAKE_MATCH_2} + 1")
set(next_protobuf ${CMAKE_MATCH_1}.${next_minor})
kestrelvisor_pkgconfig(messages "Messages between KestrelVisor engine and host"
  "protobuf >= ${protobuf}, protobuf < ${next_protobuf}")
kestrelvisor_pkgconfig(platform "Reference host platform of the KestrelVisor engine"
  "kestrelvisor_messages = ${PROJECT_VERSION}")
kestrelvisor_pkgconfig(engine "Environment engine for KestrelVisor managers"
  "kestrelvisor_messages = ${PROJECT_VERSION}, libcurl >= 7.88, jsoncpp")

# --- What people read and start from ---

install(DIRECTORY examples/ DESTINATION ${data_folder}/examples COMPONENT development)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${guides_folder} COMPONENT documentation)
install(DIRECTORY docs DESTINATION ${guides_folder} COMPONENT documentation
  PATTERN reference EXCLUDE)
install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html/ DESTINATION ${guides_folder}/reference
  COMPONENT documentation OPTIONAL)

# --- Tools ---

# Installs a file compressed, as name.gz and without a time of its own.
function(kestrelvisor_install_compressed file name)
  cmake_parse_arguments(arg "" "DESTINATION;COMPONENT" "" ${ARGN})
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${arg_COMPONENT}/${name}.gz)
  cmake_path(GET compressed PARENT_PATH folder)
  file(MAKE_DIRECTORY ${folder})
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  install(FILES ${compressed} DESTINATION ${arg_DESTINATION} COMPONENT ${arg_COMPONENT})
endfunction()

# Installs the script with which a shell completes command lines of kestrelctl, which prints it.
function(kestrelvisor_install_completion shell name folder)
  set(script ${PROJECT_BINARY_DIR}/completions/${name})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/completions)
  add_custom_command(OUTPUT ${script}
    COMMAND kestrelctl completion ${shell} > ${script}
    DEPENDS kestrelctl
    VERBATIM)
  add_custom_target(kestrelctl_${shell}_completion ALL DEPENDS ${script})
  install(FILES ${script} DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} COMPONENT tools)
endfunction()

# Tools of a plain build belong to that build.
if(KESTRELVISOR_TOOLS AND NOT KESTRELVISOR_PLAIN_BUILD)
  install(TARGETS kestrelctl RUNTIME COMPONENT tools)
  install(TARGETS vrmsim RUNTIME COMPONENT simulator)
  install(FILES vrmsim/sites/sample.json DESTINATION ${data_folder}/sites COMPONENT simulator)

  # Where each shell looks below /usr by itself.
  kestrelvisor_install_completion(bash kestrelctl bash-completion/completions)
  kestrelvisor_install_completion(zsh _kestrelctl zsh/vendor-completions)
  kestrelvisor_install_completion(fish kestrelctl.fish fish/vendor_completions.d)

  # The simulator's pages are its own, all others are the tools'.
  file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[1-8])
  foreach(page IN LISTS pages)
    cmake_path(GET page FILENAME name)
    string(REGEX MATCH "[1-8]$" section ${name})
    set(component tools)
    if(name MATCHES "^vrmsim")
      set(component simulator)
    endif()
    kestrelvisor_install_compressed(${page} ${name}
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
  endforeach()
endif()

# Below /usr the loader finds libraries by itself, and Debian's packages want nothing else. Anywhere
# else they are looked for beside what needs them.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  include(KestrelVisorPackages)
else()
  set_target_properties(kestrelvisor_messages kestrelvisor_platform kestrelvisor_engine PROPERTIES
    INSTALL_RPATH $ORIGIN)
  if(KESTRELVISOR_TOOLS AND NOT KESTRELVISOR_PLAIN_BUILD)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR}
      OUTPUT_VARIABLE libraries_from_tools)
    set_target_properties(kestrelctl PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_tools})
  endif()
endif()
