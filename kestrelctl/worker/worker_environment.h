#pragma once

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The environment of the process in which the engine runs, "NAME=value" each: of ours what the
// engine, the platform and the loader need, and with foreignSettings what libcurl and OpenSSL obey.
// Everything is bound at the start: the loader would save registers on the stack at a function's
// first call, and with them what was copied last.
std::vector<std::string> workerEnvironment(bool foreignSettings);

}  // namespace kestrelvisor::ctl
