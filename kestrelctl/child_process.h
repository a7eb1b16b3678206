#pragma once

#include "kestrelctl/descriptor.h"

#include <signal.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Thrown when a signal wants the process to end; whoever catches it lets the signal do so.
struct Interrupted {
  int signal;
};

// Holds back the signals that end the process while it lives, so that children are ended and files
// removed first. Signals that the caller of the process ignores stay ignored.
class EndingSignals {
 public:
  EndingSignals();
  ~EndingSignals();
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;

  // Waits until a descriptor can be read. Throws Interrupted when a signal comes first, and a
  // Failure after limitSeconds; a negative limit means none.
  void waitFor(int descriptor, int limitSeconds) const;

  // What the process let through before; children start with it.
  const sigset_t& before() const { return before_; }

 private:
  sigset_t before_{};
  Descriptor arrived_;
};

// A program that runs beside us and never outlives us, however we end.
class ChildProcess {
 public:
  // Starts a program with its arguments. Its standard output goes to output, or to ours for a
  // negative number. Throws a Failure when it cannot be started.
  ChildProcess(const EndingSignals& signals, const std::string& program,
               const std::vector<std::string>& arguments, int output = -1);
  // Ends it and waits for its end.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Waits for its end; returns its exit code, or 128 and the number of the signal that ended it.
  int wait();
  // Asks it to end, then waits.
  int stop();

 private:
  int reap();

  const EndingSignals& signals_;
  pid_t id_ = -1;
  Descriptor ended_;  // at its end once the program has ended
};

}  // namespace kestrelvisor::ctl
