# Everything comes from the distribution's packages; scripts/bootstrap names them.

# A project that adds this one as a folder may name them as one that finds it installed.
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)

find_package(Threads REQUIRED)
find_package(CURL 7.88 REQUIRED)
find_package(OpenSSL 3.0 REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(Protobuf REQUIRED)
find_package(jsoncpp REQUIRED)
