#include "kestrelctl/terminal_loan.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace kestrelvisor::ctl {
namespace {

// Whoever is not in the foreground is stopped for that, unless the signal is blocked.
void giveTerminal(int terminal, pid_t group) {
  sigset_t stopping;
  sigset_t before;
  sigemptyset(&stopping);
  sigaddset(&stopping, SIGTTOU);
  sigprocmask(SIG_BLOCK, &stopping, &before);
  tcsetpgrp(terminal, group);
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

TerminalLoan::TerminalLoan()
    : terminal_(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)),
      isOurs_(terminal_ && tcgetpgrp(terminal_.get()) == getpgrp()) {}

TerminalLoan::~TerminalLoan() {
  if (isOurs_) giveTerminal(terminal_.get(), getpgrp());
}

void TerminalLoan::lendTo(pid_t group) const {
  if (isOurs_) giveTerminal(terminal_.get(), group);
}

}  // namespace kestrelvisor::ctl
