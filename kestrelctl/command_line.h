#pragma once

#include "kestrelctl/command.h"

#include <memory>

namespace kestrelvisor::ctl {

// Reads the command line into the command that it names. Null when help or the version was asked
// for and has been printed. Throws a Failure for a command line that cannot be understood.
std::unique_ptr<Command> readCommandLine(int argc, const char* const* argv);

}  // namespace kestrelvisor::ctl
