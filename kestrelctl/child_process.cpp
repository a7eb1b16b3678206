#include "kestrelctl/child_process.h"

#include "kestrelctl/ending_signals.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/system_error.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

namespace kestrelvisor::ctl {
namespace {

constexpr std::chrono::seconds kGrace(5);

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : kEndingSignals) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) sigaddset(&signals, number);
  }
  return signals;
}

// Between fork and exec: only calls that are safe there.
[[noreturn]] void becomeProgram(const std::vector<char*>& argv, const sigset_t& mask, int output,
                                int lifeline, pid_t parent) {
  prepareChild(parent, SIGTERM, mask);
  if (output >= 0) dup2(output, STDOUT_FILENO);
  fcntl(lifeline, F_SETFD, 0);  // open as long as the program runs
  execv(argv.front(), argv.data());
  _exit(kCannotExecute);
}

bool isReadableWithin(int descriptor, std::chrono::milliseconds limit) {
  pollfd entry{descriptor, POLLIN, 0};
  return poll(&entry, 1, static_cast<int>(limit.count())) == 1;
}

}  // namespace

EndingSignals::EndingSignals() {
  const sigset_t signals = endingSignals();
  sigprocmask(SIG_BLOCK, &signals, &before_);
  arrived_ = Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (arrived_.get() >= 0) return;
  const std::string why = systemError();
  sigprocmask(SIG_SETMASK, &before_, nullptr);
  throw Failure(ExitCode::unreadableAnswer, "signals cannot be received: " + why);
}

EndingSignals::~EndingSignals() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

bool EndingSignals::waitFor(int descriptor, const Deadline& deadline, int other) const {
  std::array<pollfd, 3> entries{
      {{arrived_.get(), POLLIN, 0}, {descriptor, POLLIN, 0}, {other, POLLIN, 0}}};
  for (;;) {
    const int ready = poll(entries.data(), entries.size(), millisecondsUntil(deadline));
    if (ready > 0 && entries[0].revents != 0) {
      if (const int number = take(); number != 0) throw Interrupted{number};
    }
    if (ready > 0 && (entries[1].revents != 0 || entries[2].revents != 0)) return true;
    if (deadline && std::chrono::steady_clock::now() >= *deadline) return false;
  }
}

int EndingSignals::take() const {
  signalfd_siginfo information{};
  const ssize_t count = ::read(arrived_.get(), &information, sizeof information);
  return count == sizeof information ? static_cast<int>(information.ssi_signo) : 0;
}

void prepareChild(pid_t parent, int signalOnItsEnd, const sigset_t& mask) {
  prctl(PR_SET_PDEATHSIG, signalOnItsEnd);
  if (getppid() != parent) _exit(kCannotExecute);  // it has ended before the line above
  for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_DFL);
  sigprocmask(SIG_SETMASK, &mask, nullptr);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

int waitForEnd(pid_t id) {
  int status = 0;
  while (waitpid(id, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

ChildProcess::ChildProcess(const EndingSignals& signals, const std::string& program,
                           const std::vector<std::string>& arguments, int output)
    : signals_(signals) {
  std::vector<std::string> words{program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const std::vector<char*> argv = pointersTo(words);
  int lifeline[2];
  if (pipe2(lifeline, O_CLOEXEC) != 0) {
    throw Failure(ExitCode::unreadableAnswer, program + " cannot be started: " + systemError());
  }
  ended_ = Descriptor(lifeline[0]);
  const Descriptor itsEnd(lifeline[1]);
  const pid_t parent = getpid();
  id_ = fork();
  if (id_ == 0) becomeProgram(argv, signals.before(), output, itsEnd.get(), parent);
  if (id_ < 0) {
    throw Failure(ExitCode::unreadableAnswer, program + " cannot be started: " + systemError());
  }
}

ChildProcess::~ChildProcess() {
  if (id_ > 0) stop();
}

int ChildProcess::wait() {
  signals_.waitFor(ended_.get(), std::nullopt);
  return reap();
}

int ChildProcess::stop() {
  kill(id_, SIGTERM);
  if (!isReadableWithin(ended_.get(), kGrace)) kill(id_, SIGKILL);
  return reap();
}

int ChildProcess::reap() {
  const int status = waitForEnd(id_);
  id_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : exitCodeOfSignal(WTERMSIG(status));
}

}  // namespace kestrelvisor::ctl
