#pragma once

#include "kestrelctl/exit_code.h"

#include <string>

namespace kestrelvisor::ctl {

struct DemoOptions {
  std::string vrmsim;     // empty: beside our own executable
  std::string inventory;  // empty: the sample site
  std::string saveFile = "kestrelvisor-demo-reply.pb";
};

// Starts a simulated manager over HTTPS on a free loopback port and runs our own commands against
// it, as a person would. Nothing is left behind but the reply's file. Throws a Failure, or
// Interrupted when a signal ended the demo.
ExitCode runDemo(const DemoOptions& options);

}  // namespace kestrelvisor::ctl
