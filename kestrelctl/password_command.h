#pragma once

#include "kestrelctl/deadline.h"

#include <cstddef>
#include <string>

namespace kestrelvisor::ctl {

// Runs a command by /bin/sh, with nothing to read and our standard error, and takes what it prints;
// the caller wipes it. It may ask on our terminal, where Ctrl-C then ends it. It is ended when it
// takes longer than the deadline, prints more than longest bytes, or a signal ends us; and what it
// has started and left running ends with it.
//
// Throws a Failure when it does not end well, Interrupted when a signal ends it or us.
void readFromCommand(const std::string& command, std::size_t longest, const Deadline& deadline,
                     std::string& output);

}  // namespace kestrelvisor::ctl
