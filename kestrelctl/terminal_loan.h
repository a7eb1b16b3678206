#pragma once

#include "kestrelctl/descriptor.h"

#include <sys/types.h>

namespace kestrelvisor::ctl {

// Lends our terminal to another group of processes, as a shell does for its jobs: those may ask
// there, and Ctrl-C reaches them instead of us. Does nothing where there is no terminal, or where
// it is not ours to lend because we run in the background. Takes it back at its own end.
class TerminalLoan {
 public:
  TerminalLoan();
  ~TerminalLoan();
  TerminalLoan(const TerminalLoan&) = delete;
  TerminalLoan& operator=(const TerminalLoan&) = delete;

  // Makes only calls that are safe in a fresh child. To be called there, by the group that gets it.
  void lendTo(pid_t group) const;
  bool isLent() const { return isOurs_; }

 private:
  Descriptor terminal_;
  bool isOurs_ = false;
};

}  // namespace kestrelvisor::ctl
