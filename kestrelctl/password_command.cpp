#include "kestrelctl/password_command.h"

#include "base/wipe_string.h"
#include "kestrelctl/child_process.h"
#include "kestrelctl/descriptor.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/system_error.h"
#include "kestrelctl/terminal_loan.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kShell = "/bin/sh";
constexpr int kSignalBase = 128;  // what shells add for a command that a signal has ended

Failure cannotRun() { return wrongUsage("--password-command: it cannot be run: " + systemError()); }

Failure tookTooLong() {
  Failure failure(ExitCode::timeLimit, "--password-command: it did not end in time");
  failure.hint = "it has 60 seconds, and no more than --timeout leaves; try it in a shell";
  return failure;
}

// Can be read once the process has ended. The C library declares its own function for C alone.
int openProcess(pid_t id) { return static_cast<int>(syscall(SYS_pidfd_open, id, 0)); }

extern "C" void endGroup(int) { kill(0, SIGKILL); }

// Ends this process as another one has ended, by the same signal without a core file of its own.
[[noreturn]] void endLike(int status) {
  if (!WIFSIGNALED(status)) _exit(WEXITSTATUS(status));
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  signal(WTERMSIG(status), SIG_DFL);
  raise(WTERMSIG(status));
  _exit(kCannotExecute);  // not reached: it has no handler, and is let through
}

// The shell and what it starts: a group of processes that ends as a whole, with our terminal as
// long as it runs. A guard leads it, which takes all of it along should we be killed.
class Shell {
 public:
  Shell(const EndingSignals& signals, const std::string& command) : signals_(signals) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw cannotRun();
    output_ = Descriptor(ends[0]);
    const Descriptor itsEnd(ends[1]);
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) becomeGuard(command.c_str(), itsEnd.get(), parent);
    if (id_ < 0) throw cannotRun();
    setpgid(id_, id_);  // whichever of the two comes first
    ended_ = Descriptor(openProcess(id_));
    if (ended_) return;
    const Failure failure = cannotRun();
    stop();
    throw failure;
  }
  ~Shell() {
    if (id_ > 0) stop();
  }
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  // Waits for output; 0 at its end. What the command leaves behind ends with it, and so prints no
  // more.
  std::size_t read(char* target, std::size_t size, const Deadline& deadline) {
    for (;;) {
      if (!signals_.waitFor(output_.get(), deadline, ended_.get())) throw tookTooLong();
      if (hasEnded()) {
        end();
        continue;
      }
      const ssize_t count = ::read(output_.get(), target, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) throw cannotRun();
    }
  }

  // Waits for the end of the command; returns its status as waitpid gives it.
  int wait(const Deadline& deadline) {
    if (!ended_) return status_;
    if (!signals_.waitFor(ended_.get(), deadline)) throw tookTooLong();
    end();
    return status_;
  }

  bool hasTerminal() const { return terminal_.isLent(); }

 private:
  // In the fresh child: only calls that are safe there.
  [[noreturn]] void becomeGuard(const char* command, int output, pid_t parent) const {
    setpgid(0, 0);
    terminal_.lendTo(getpid());
    // Nobody would wake it after a stop.
    for (const int number : {SIGTSTP, SIGTTIN}) signal(number, SIG_IGN);
    signal(SIGTERM, endGroup);
    prepareChild(parent, SIGTERM, signals_.before());
    const pid_t shell = fork();
    if (shell == 0) becomeShell(command, output);
    if (shell < 0) _exit(kCannotExecute);
    close(output);
    // Ctrl-C is for the command, which decides what comes of it.
    for (const int number : {SIGINT, SIGQUIT, SIGHUP}) signal(number, SIG_IGN);
    endLike(waitForEnd(shell));
  }

  [[noreturn]] static void becomeShell(const char* command, int output) {
    const int nothing = open("/dev/null", O_RDONLY);
    if (nothing < 0 || dup2(nothing, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0) {
      _exit(kCannotExecute);
    }
    execl(kShell, "sh", "-c", command, static_cast<char*>(nullptr));
    _exit(kCannotExecute);
  }

  bool hasEnded() const {
    pollfd entry{ended_.get(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
  }

  void end() {
    status_ = stop();
    ended_.reset();
  }

  // At once: what a password command holds is nothing that it could lose. The group is there until
  // its first process has been reaped.
  int stop() {
    kill(-id_, SIGKILL);
    return waitForEnd(std::exchange(id_, -1));
  }

  const EndingSignals& signals_;
  TerminalLoan terminal_;
  pid_t id_ = -1;
  int status_ = 0;
  Descriptor output_;
  Descriptor ended_;  // until it has been reaped
};

// Ctrl-C reached the command in our place.
void obeyInterrupt(int status) {
  for (const int number : {SIGINT, SIGQUIT}) {
    const bool byIt = WIFSIGNALED(status) && WTERMSIG(status) == number;
    const bool ofItsOwn = WIFEXITED(status) && WEXITSTATUS(status) == kSignalBase + number;
    if (byIt || ofItsOwn) throw Interrupted{number};
  }
}

void refuseBadEnd(int status) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  const std::string how = WIFEXITED(status)
                              ? "ended with exit status " + std::to_string(WEXITSTATUS(status))
                              : "was ended by signal " + std::to_string(WTERMSIG(status));
  throw wrongUsage("--password-command: the command " + how,
                   "try it in a shell: it must print the password and end with 0");
}

}  // namespace

void readFromCommand(const std::string& command, std::size_t longest, const Deadline& deadline,
                     std::string& output) {
  wipeString(output);
  const EndingSignals signals;
  Shell shell(signals, command);
  // Sized once, so that no copy of the secret stays in the heap.
  output.resize(longest + 1);
  std::size_t filled = 0;
  for (std::size_t count = 1; count > 0 && filled < output.size(); filled += count) {
    count = shell.read(output.data() + filled, output.size() - filled, deadline);
  }
  if (filled > longest) throw wrongUsage("--password-command: it prints too much");
  const int status = shell.wait(deadline);
  if (shell.hasTerminal()) obeyInterrupt(status);
  refuseBadEnd(status);
  output.resize(filled);
}

}  // namespace kestrelvisor::ctl
