#pragma once

#include "kestrelctl/exit_code.h"

namespace kestrelvisor::ctl {

// The hidden command under which kestrelctl starts itself.
inline constexpr const char* kWorkerCommand = "worker";

// The descriptor that such a process finds its end of the channel under.
inline constexpr int kWorkerChannel = 3;

// Runs one operation of the engine for the process at the other end of the channel: reads the job,
// prepares everything, says so, reads the password, works, and tells what came of it. Sessions are
// told whenever their number changes, to the very end of the process.
//
// Throws a Failure when nobody has made a channel: the command is not for people.
ExitCode runWorker();

}  // namespace kestrelvisor::ctl
