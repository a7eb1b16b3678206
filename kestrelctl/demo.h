#pragma once

#include "kestrelctl/exit_code.h"
#include "kestrelctl/options.h"

namespace kestrelvisor::ctl {

// Starts a simulated manager over HTTPS on a free loopback port and runs our own commands against
// it, as a person would. Nothing is left behind but the reply's file. Throws a Failure, or
// Interrupted when a signal ended the demo.
ExitCode runDemo(const DemoOptions& options);

}  // namespace kestrelvisor::ctl
