#pragma once

#include <cstdint>

namespace kestrelvisor::bench {

// Transfers that this process has begun, whoever began them: the program's own definition of
// libcurl's function stands in front of the library's for the engine, too.
std::uint64_t transfersBegun();

// Keeps handles from sharing sessions, names or anything else with others from now on: what is said
// to libcurl about a share does not reach it.
void forbidSharing();

}  // namespace kestrelvisor::bench
