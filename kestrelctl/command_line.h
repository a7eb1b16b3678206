#pragma once

#include "kestrelctl/command.h"
#include "kestrelctl/completion/command_tree.h"

#include <memory>
#include <vector>

namespace kestrelvisor::ctl {

// Reads the command line into the command that it names. Null when help or the version was asked
// for and has been printed. Throws a Failure for a command line that cannot be understood.
std::unique_ptr<Command> readCommandLine(int argc, const char* const* argv);

// All commands with their options, for shells that complete them.
std::vector<CompletedCommand> describeCommands();

}  // namespace kestrelvisor::ctl
