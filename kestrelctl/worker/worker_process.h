#pragma once

#include "kestrelctl/worker/channel.h"

#include <signal.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The process in which the engine runs: this program again, with its hidden command. It has the
// environment it is given, standard error and its end of the channel, and nothing else of ours. It
// never outlives us, however we end.
class WorkerProcess {
 public:
  // environment holds "NAME=value" texts; mask is the mask of signals that it starts with. Throws a
  // Failure when it cannot be started.
  WorkerProcess(const std::vector<std::string>& environment, const sigset_t& mask);
  // Kills it unless it has been reaped.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  Channel& channel() { return channel_; }
  void signal(int number) const;
  // Waits for its end; returns the wait status. To be called once, and the last call.
  int reap();

 private:
  Channel channel_;
  pid_t id_ = -1;
};

}  // namespace kestrelvisor::ctl
