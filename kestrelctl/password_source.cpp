#include "kestrelctl/password_source.h"

#include "base/wipe_string.h"
#include "kestrelctl/child_process.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/password_command.h"
#include "kestrelctl/system_error.h"
#include "kestrelctl/terminal_prompt.h"
#include "platform/reference/small_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kLongestPassword = 4096;
constexpr std::chrono::seconds kLongestCommand(60);
constexpr const char* kVariable = "KESTRELVISOR_PASSWORD";

std::string problemOfPasswordFile(const struct stat& status) {
  if (status.st_uid != geteuid() && status.st_uid != 0) return "owned by another user";
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    return "accessible to others than its owner; chmod 600 it";
  }
  return {};
}

void readFromFile(const std::string& path, std::string& password) {
  std::string problem;
  if (!readSmallFile(path, kLongestPassword, problemOfPasswordFile, password, problem)) {
    throw wrongUsage("--password-file: " + problem,
                     "name a file that you alone can read; for a pipe there is --password-stdin");
  }
}

Failure nothingCame() {
  Failure failure(ExitCode::timeLimit, "--password-stdin: the password did not come in time");
  failure.hint = "give it more time with --timeout; whoever writes it must close the pipe";
  return failure;
}

void readFromStandardInput(const Deadline& deadline, std::string& password) {
  if (isatty(STDIN_FILENO) == 1) {
    throw wrongUsage("--password-stdin: standard input is a terminal",
                     "without this option you are asked, and what you type is hidden");
  }
  // Sized once, so that no copy of the secret stays in the heap.
  password.resize(kLongestPassword + 1);
  const EndingSignals signals;
  std::size_t filled = 0;
  for (ssize_t count = 1; count != 0 && filled < password.size();) {
    if (!signals.waitFor(STDIN_FILENO, deadline)) throw nothingCame();
    count = ::read(STDIN_FILENO, password.data() + filled, password.size() - filled);
    if (count > 0) filled += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR && errno != EAGAIN) {
      throw wrongUsage("--password-stdin: " + systemError());
    }
  }
  if (filled > kLongestPassword) {
    throw wrongUsage("--password-stdin: the password is too long",
                     "it may have " + std::to_string(kLongestPassword) +
                         " bytes, and standard input must hold nothing else");
  }
  password.resize(filled);
}

// A command has this long, or until the deadline when that comes first.
Deadline deadlineOfCommand(const Deadline& deadline) {
  const auto own = std::chrono::steady_clock::now() + kLongestCommand;
  return deadline ? std::min(*deadline, own) : own;
}

bool takeFromEnvironment(std::string& password) {
  char* const text = std::getenv(kVariable);
  if (text == nullptr || *text == '\0') return false;
  password = text;
  // In place: the system shows a process's first environment to others of the same user.
  explicit_bzero(text, password.size());
  unsetenv(kVariable);
  return true;
}

Warning warningOfEnvironment() {
  return {"password-in-environment",
          std::string("the password in ") + kVariable + " can be read by others"};
}

// Returns how long it took.
std::chrono::steady_clock::duration ask(const std::string& question, std::string& password) {
  const auto start = std::chrono::steady_clock::now();
  if (!askWithoutEcho(question, password)) {
    throw wrongUsage("no password: there is no terminal to ask on",
                     "use --password-file, --password-command or --password-stdin");
  }
  return std::chrono::steady_clock::now() - start;
}

void dropClosingLineEnd(std::string& password) {
  if (!password.empty() && password.back() == '\n') password.pop_back();
  if (!password.empty() && password.back() == '\r') password.pop_back();
}

void refuseUnusable(const std::string& password) {
  if (password.empty()) {
    throw wrongUsage("the password is empty",
                     "see to it that its source gives the password on its first line");
  }
  constexpr std::string_view kForbidden("\r\n\0", 3);
  if (password.find_first_of(kForbidden) != std::string::npos) {
    throw wrongUsage("the password holds a line end or a NUL",
                     "the source must hold the password alone, on one line");
  }
}

}  // namespace

FetchedPassword fetchPassword(const PasswordSource& source, const std::string& question,
                              const Deadline& deadline, std::string& password) {
  wipeString(password);
  // Taken out in any case: programs that we start have no use for it.
  std::string fromEnvironment;
  const WipeOnExit wipe(fromEnvironment);
  const bool isInEnvironment = takeFromEnvironment(fromEnvironment);
  FetchedPassword fetched;
  if (!source.file.empty()) {
    readFromFile(source.file, password);
  } else if (source.standardInput) {
    readFromStandardInput(deadline, password);
  } else if (!source.command.empty()) {
    readFromCommand(source.command, kLongestPassword, deadlineOfCommand(deadline), password);
  } else if (isInEnvironment) {
    password.swap(fromEnvironment);
    fetched.warnings.push_back(warningOfEnvironment());
  } else {
    fetched.typing = ask(question, password);
  }
  dropClosingLineEnd(password);
  refuseUnusable(password);
  return fetched;
}

}  // namespace kestrelvisor::ctl
