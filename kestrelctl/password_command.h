#pragma once

#include <cstddef>
#include <string>

namespace kestrelvisor::ctl {

inline constexpr int kPasswordCommandSeconds = 60;

// Runs a command by /bin/sh, with nothing to read and our standard error, and takes what it prints;
// the caller wipes it. The command is ended when it takes longer than a limit or prints more than
// longest bytes.
//
// Throws a Failure when it does not end well, Interrupted when a signal ends the process meanwhile.
void readFromCommand(const std::string& command, std::size_t longest, int limitSeconds,
                     std::string& output);

}  // namespace kestrelvisor::ctl
