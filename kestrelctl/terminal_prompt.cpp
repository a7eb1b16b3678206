#include "kestrelctl/terminal_prompt.h"

#include "base/wipe_string.h"
#include "kestrelctl/descriptor.h"
#include "kestrelctl/failure.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLongestAnswer = 1024;

constexpr std::array<int, 7> kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGTTIN, SIGTTOU};

volatile std::sig_atomic_t caughtSignal = 0;

extern "C" void rememberSignal(int number) { caughtSignal = number; }

// Lets the signals interrupt a read instead of ending the process.
class CaughtSignals {
 public:
  CaughtSignals() {
    caughtSignal = 0;
    struct sigaction action = {};
    action.sa_handler = rememberSignal;  // without SA_RESTART
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &before_[i]);
  }
  ~CaughtSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &before_[i], nullptr);
  }
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

 private:
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
    if (!isSilent_) return;
    // A background process gets SIGTTOU here, which is caught: try again as often as needed.
    while (tcsetattr(terminal_, TCSAFLUSH, &before_) != 0 && errno == EINTR &&
           caughtSignal != SIGTTOU) {
    }
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
bool readLine(int terminal, std::string& line) {
  wipeString(line);
  line.reserve(kLongestAnswer);
  char c = '\0';
  ssize_t count = 0;
  while ((count = ::read(terminal, &c, 1)) == 1 && c != '\n') {
    if (line.size() == kLongestAnswer) throw wrongUsage("the password is too long");
    line += c;
  }
  return count == 1;
}

}  // namespace

bool askWithoutEcho(const std::string& question, std::string& answer) {
  wipeString(answer);
  const Descriptor terminal(open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (!terminal) return false;
  for (;;) {
    bool complete = false;
    {
      const CaughtSignals caught;
      const SilentTerminal silent(terminal.get());
      if (silent.isSilent()) {
        show(terminal.get(), question);
        complete = readLine(terminal.get(), answer);
        show(terminal.get(), "\n");
      } else if (caughtSignal == 0) {
        throw wrongUsage("the terminal cannot hide what is typed");
      }
    }
    if (complete) return true;
    wipeString(answer);
    if (caughtSignal == 0) throw wrongUsage("no password was typed");
    raise(caughtSignal);
  }
}

}  // namespace kestrelvisor::ctl
