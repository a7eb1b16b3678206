# find_package(kestrelvisor_engine) gives
#
#   kestrelvisor::engine     the engine; a host names a platform beside it
#   kestrelvisor::platform   the reference platform
#   kestrelvisor::messages   the protobuf messages
#   kestrelvisor::contract   the headers of the contract, for a platform of one's own
include(CMakeFindDependencyMacro)
find_dependency(CURL 7.88)
find_dependency(jsoncpp)
find_dependency(Boost 1.74)
find_dependency(Protobuf)
include(${CMAKE_CURRENT_LIST_DIR}/kestrelvisor_engine-targets.cmake)
