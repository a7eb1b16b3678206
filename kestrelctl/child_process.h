#pragma once

#include "kestrelctl/deadline.h"
#include "kestrelctl/descriptor.h"
#include "kestrelctl/warning.h"

#include <signal.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// Thrown when a signal wants the process to end; whoever catches it lets the signal do so.
struct Interrupted {
  int signal;
  std::vector<Warning> warnings = {};
};

// Holds back the signals that end the process while it lives, so that children are ended and files
// removed first. Signals that the caller of the process ignores stay ignored.
class EndingSignals {
 public:
  EndingSignals();
  ~EndingSignals();
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;

  // Waits until a descriptor, or the other one, can be read; false when the deadline comes first.
  // Throws Interrupted when a signal does.
  bool waitFor(int descriptor, const Deadline& deadline, int other = -1) const;

  // For waits of another kind: can be read when a signal has come. take returns its number, or 0
  // when none has.
  int descriptor() const { return arrived_.get(); }
  int take() const;

  // What the process let through before; children start with it.
  const sigset_t& before() const { return before_; }

 private:
  sigset_t before_{};
  Descriptor arrived_;
};

// In a fresh child, before exec: sees to it that the child gets a signal when its parent ends, and
// starts with the mask and the dispositions that programs expect. Makes only calls that are safe
// there.
void prepareChild(pid_t parent, int signalOnItsEnd, const sigset_t& mask);

// Arguments or environment in the form that exec takes. The texts must outlive the result.
std::vector<char*> pointersTo(std::vector<std::string>& texts);

// Waits for a child's end; returns its wait status.
int waitForEnd(pid_t id);

inline constexpr int kCannotExecute = 127;  // how a child ends that finds no program

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
