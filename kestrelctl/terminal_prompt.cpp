#include "kestrelctl/terminal_prompt.h"

#include "base/wipe_string.h"
#include "kestrelctl/child_process.h"
#include "kestrelctl/descriptor.h"
#include "kestrelctl/failure.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLongestAnswer = 1024;

// A process in the background is stopped before it changes anything: SIGTTIN and SIGTTOU may do it.
constexpr std::array<int, 5> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

volatile std::sig_atomic_t caughtSignal = 0;

extern "C" void rememberSignal(int number) { caughtSignal = number; }

// Lets the signals in at one place only, where they end a wait. Elsewhere they are held back, so
// that none comes between a look for it and a read that would last for ever.
class CaughtSignals {
 public:
  CaughtSignals() {
    caughtSignal = 0;
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : kSignals) sigaddset(&signals, number);
    sigprocmask(SIG_BLOCK, &signals, &maskBefore_);
    struct sigaction action = {};
    action.sa_handler = rememberSignal;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &before_[i]);
  }
  ~CaughtSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &before_[i], nullptr);
    sigprocmask(SIG_SETMASK, &maskBefore_, nullptr);
  }
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

  // Returns false when a signal came first.
  bool waitForInput(int terminal) const {
    pollfd entry{terminal, POLLIN, 0};
    return ppoll(&entry, 1, nullptr, &maskBefore_) == 1;
  }

 private:
  sigset_t maskBefore_{};
  std::array<struct sigaction, kSignals.size()> before_{};
};

// Hides what is typed.
class SilentTerminal {
 public:
  explicit SilentTerminal(int terminal) : terminal_(terminal) {
    if (tcgetattr(terminal_, &before_) != 0) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    isSilent_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (isSilent_) tcsetattr(terminal_, TCSAFLUSH, &before_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  bool isSilent() const { return isSilent_; }

 private:
  int terminal_;
  termios before_{};
  bool isSilent_ = false;
};

void show(int terminal, const std::string& text) {
  static_cast<void>(!::write(terminal, text.data(), text.size()));
}

// Reads up to a line end. The string never grows, so no copy of the secret stays in the heap.
bool readLine(const CaughtSignals& caught, int terminal, std::string& line) {
  wipeString(line);
  line.reserve(kLongestAnswer);
  char c = '\0';
  while (caught.waitForInput(terminal) && ::read(terminal, &c, 1) == 1) {
    if (c == '\n') return true;
    if (line.size() == kLongestAnswer) throw wrongUsage("what was typed is too long");
    line += c;
  }
  return false;
}

bool isIgnored(int number) {
  struct sigaction action = {};
  sigaction(number, nullptr, &action);
  return action.sa_handler == SIG_IGN;
}

// Lets a signal do to the process what it would have done without the question.
void obey(int number) {
  if (isIgnored(number)) return;
  if (number != SIGTSTP) throw Interrupted{number};
  raise(number);
}

// Asks until a line or the end of the input comes; whether a line came. Signals that the process
// survives, as a stop by Ctrl-Z, lead to the question anew.
template <class ReadAnswer>
bool askUntilAnswered(const ReadAnswer& readAnswer, std::string& answer) {
  for (;;) {
    if (readAnswer()) return true;
    wipeString(answer);
    if (caughtSignal == 0) return false;
    obey(caughtSignal);
  }
}

Descriptor openTerminal() { return Descriptor(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)); }

}  // namespace

bool askWithoutEcho(const std::string& question, std::string& answer) {
  wipeString(answer);
  const Descriptor terminal = openTerminal();
  if (!terminal) return false;
  const auto readSecret = [&] {
    const CaughtSignals caught;
    const SilentTerminal silent(terminal.get());
    if (!silent.isSilent()) throw wrongUsage("the terminal cannot hide what is typed");
    show(terminal.get(), question);
    const bool complete = readLine(caught, terminal.get(), answer);
    show(terminal.get(), "\n");
    return complete;
  };
  if (!askUntilAnswered(readSecret, answer)) throw wrongUsage("no password was typed");
  return true;
}

bool askWithEcho(const std::string& question, std::string& answer) {
  answer.clear();
  const Descriptor terminal = openTerminal();
  if (!terminal) return false;
  const auto readShown = [&] {
    const CaughtSignals caught;
    show(terminal.get(), question);
    const bool complete = readLine(caught, terminal.get(), answer);
    if (!complete) show(terminal.get(), "\n");
    return complete;
  };
  askUntilAnswered(readShown, answer);
  return true;
}

}  // namespace kestrelvisor::ctl
