#include "kestrelctl/password_command.h"

#include "base/wipe_string.h"
#include "kestrelctl/child_process.h"
#include "kestrelctl/descriptor.h"
#include "kestrelctl/failure.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kCannotExecute = 127;
constexpr const char* kShell = "/bin/sh";

Failure cannotRun(int error) {
  return wrongUsage("--password-command: it cannot be run: " +
                    std::generic_category().message(error));
}

// Can be read once the process has ended. The C library declares its own function for C alone.
int openProcess(pid_t id) { return static_cast<int>(syscall(SYS_pidfd_open, id, 0)); }

bool hasTerminal() { return static_cast<bool>(Descriptor(open("/dev/tty", O_RDWR | O_CLOEXEC))); }

// The shell and what it starts. On a terminal they stay in our group, so that they may ask there
// and Ctrl-C reaches them; elsewhere they are a group of their own, which ends as a whole.
class Shell {
 public:
  Shell(const EndingSignals& signals, const std::string& command)
      : signals_(signals), ownGroup_(!hasTerminal()) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw cannotRun(errno);
    output_ = Descriptor(ends[0]);
    const Descriptor itsEnd(ends[1]);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) becomeShell(command.c_str(), itsEnd.get(), parent);
    if (id_ < 0) throw cannotRun(errno);
    if (ownGroup_) setpgid(id_, id_);  // whichever of the two comes first
    ended_ = Descriptor(openProcess(id_));
    if (ended_) return;
    const int error = errno;
    stop();
    throw cannotRun(error);
  }
  ~Shell() {
    if (id_ > 0) stop();
  }
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  // Waits for output; 0 at its end.
  std::size_t read(char* target, std::size_t size, Clock::time_point deadline) const {
    for (;;) {
      waitFor(output_, deadline);
      const ssize_t count = ::read(output_.get(), target, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) throw cannotRun(errno);
    }
  }

  // Waits for the end; returns the status as waitpid gives it.
  int wait(Clock::time_point deadline) {
    waitFor(ended_, deadline);
    return reap();
  }

 private:
  // Between fork and exec: only calls that are safe there.
  [[noreturn]] void becomeShell(const char* command, int output, pid_t parent) const {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(kCannotExecute);  // it has ended before the line above
    if (ownGroup_) setpgid(0, 0);
    for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_DFL);
    sigprocmask(SIG_SETMASK, &signals_.before(), nullptr);
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing < 0 || dup2(nothing, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0) {
      _exit(kCannotExecute);
    }
    execl(kShell, "sh", "-c", command, static_cast<char*>(nullptr));
    _exit(kCannotExecute);
  }

  void waitFor(const Descriptor& descriptor, Clock::time_point deadline) const {
    const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - Clock::now()).count();
    signals_.waitFor(descriptor.get(), static_cast<int>(std::max<std::int64_t>(left, 0)));
  }

  // At once: what a password command holds is nothing that it could lose.
  void stop() {
    kill(ownGroup_ ? -id_ : id_, SIGKILL);
    reap();
  }

  int reap() {
    int status = 0;
    while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    return status;
  }

  const EndingSignals& signals_;
  bool ownGroup_;
  pid_t id_ = -1;
  Descriptor output_;
  Descriptor ended_;
};

void refuseBadEnd(int status) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  const std::string how = WIFEXITED(status)
                              ? "ended with exit status " + std::to_string(WEXITSTATUS(status))
                              : "was ended by signal " + std::to_string(WTERMSIG(status));
  throw wrongUsage("--password-command: the command " + how,
                   "try it in a shell: it must print the password and end with 0");
}

}  // namespace

void readFromCommand(const std::string& command, std::size_t longest, int limitSeconds,
                     std::string& output) {
  wipeString(output);
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(limitSeconds);
  const EndingSignals signals;
  Shell shell(signals, command);
  // Sized once, so that no copy of the secret stays in the heap.
  output.resize(longest + 1);
  std::size_t filled = 0;
  try {
    for (std::size_t count = 1; count > 0 && filled < output.size(); filled += count) {
      count = shell.read(output.data() + filled, output.size() - filled, deadline);
    }
    if (filled > longest) throw wrongUsage("--password-command: it prints too much");
    refuseBadEnd(shell.wait(deadline));
  } catch (const Failure& failure) {
    if (failure.exitCode != ExitCode::timeLimit) throw;
    throw Failure(ExitCode::timeLimit, "--password-command: it did not end within " +
                                           std::to_string(limitSeconds) + " seconds");
  }
  output.resize(filled);
}

}  // namespace kestrelvisor::ctl
