#pragma once

#include "kestrelctl/options.h"

#include <optional>

namespace kestrelvisor::ctl {

// Reads the command line. Nothing when help or the version was asked for and has been printed.
// Throws a Failure for a command line that cannot be understood.
std::optional<Invocation> readCommandLine(int argc, const char* const* argv);

}  // namespace kestrelvisor::ctl
