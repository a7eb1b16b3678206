#pragma once

#include "kestrelctl/exit_code.h"
#include "kestrelctl/options.h"

namespace kestrelvisor::ctl {

// Runs one command. Throws a Failure or ClosedPipe when it does not come to its end.
ExitCode run(const Invocation& invocation);

}  // namespace kestrelvisor::ctl
