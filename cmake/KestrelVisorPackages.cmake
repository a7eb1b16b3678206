# Debian packages of what is installed, one for each part; scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tools simulator documentation)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Each description has a first line of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "KestrelVisor engine maintainers")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR} <maintainers@kestrelvisor.example>")
set(CPACK_DEBIAN_PACKAGE_SOURCE kestrelvisor-engine)
# A package is as old as what it holds: there is no revision of the packaging alone.
file(STRINGS packaging/changelog latest LIMIT_COUNT 1)
if(NOT latest MATCHES "\\(${PROJECT_VERSION}\\)")
  message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}: ${latest}")
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# kestrelvisor_package(component NAME name SECTION section DESCRIPTION text
#                      [NEEDS component...] [DEPENDS text] [SUGGESTS text])
#
# The text's first line is the package's short description; CPack sets the others in.
macro(kestrelvisor_package component)
  cmake_parse_arguments(arg "" "NAME;SECTION;DESCRIPTION;DEPENDS;SUGGESTS" "NEEDS" ${ARGN})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${arg_NAME})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${arg_SECTION})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${arg_DESCRIPTION}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${arg_DEPENDS}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_SUGGESTS "${arg_SUGGESTS}")
  set(CPACK_COMPONENT_${upper}_DEPENDS ${arg_NEEDS})

  # What Debian wants to lie in each package.
  set(papers ${CMAKE_INSTALL_DATADIR}/doc/${arg_NAME})
  install(FILES packaging/copyright DESTINATION ${papers} COMPONENT ${component})
  kestrelvisor_install_compressed(${PROJECT_SOURCE_DIR}/packaging/changelog changelog
    DESTINATION ${papers} COMPONENT ${component})
  if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/${arg_NAME}.lintian-overrides)
    install(FILES packaging/${arg_NAME}.lintian-overrides RENAME ${arg_NAME}
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT ${component})
  endif()
endmacro()

kestrelvisor_package(library NAME libkestrelvisor1 SECTION libs
  DESCRIPTION "environment engine for KestrelVisor managers
The engine verifies that an address and credentials reach a KestrelVisor
virtualisation manager, scans its environment into records, and switches
changed-block tracking off on a machine.

This package holds the engine, its messages, and the reference platform.")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)

string(JOIN ", " development_needs
  "libboost-dev (>= ${Boost_VERSION_MAJOR}.${Boost_VERSION_MINOR})" libcurl4-openssl-dev
  libjsoncpp-dev "libprotobuf-dev (>= ${protobuf})" "libprotobuf-dev (<< ${next_protobuf})")
kestrelvisor_package(development NAME libkestrelvisor-dev SECTION libdevel
  NEEDS library DEPENDS "${development_needs}" SUGGESTS "kestrelvisor-doc, vrmsim"
  DESCRIPTION "environment engine for KestrelVisor managers (development files)
The engine verifies that an address and credentials reach a KestrelVisor
virtualisation manager, scans its environment into records, and switches
changed-block tracking off on a machine.

This package holds what backup products are built with: headers, messages,
files for CMake and pkg-config, example hosts and a template for one's own.")

kestrelvisor_package(tools NAME kestrelctl SECTION admin
  NEEDS library SUGGESTS "vrmsim"
  DESCRIPTION "see what is on a KestrelVisor manager
kestrelctl shows whether a KestrelVisor virtualisation manager can be reached,
what is on it, and what changed since the last scan. It switches
changed-block tracking off on a machine.")

kestrelvisor_package(simulator NAME vrmsim SECTION devel
  DESCRIPTION "KestrelVisor manager that lives on one machine
vrmsim speaks the REST interface of a KestrelVisor virtualisation manager over
HTTP or HTTPS, serves a site that it is given or makes up, and misbehaves on
request. Hosts of the engine are tested with it.")

kestrelvisor_package(documentation NAME kestrelvisor-doc SECTION doc
  DESCRIPTION "environment engine for KestrelVisor managers (documentation)
The guides for those who embed the engine, run kestrelctl or test with vrmsim,
and the reference of the public headers, in /usr/share/doc/kestrelvisor.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

include(CPack)
