#include "tests/kestrelctl/program.h"

#include "tests/kestrelctl/promised_output.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace kestrelvisor::ctl::test {
namespace {

// Arguments or environment in the form that exec wants.
class Words {
 public:
  explicit Words(std::vector<std::string> words) : words_(std::move(words)) {
    for (std::string& word : words_) pointers_.push_back(word.data());
    pointers_.push_back(nullptr);
  }
  char* const* get() const { return pointers_.data(); }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

std::vector<std::string> commandLine(const Arguments& arguments) {
  std::vector<std::string> words{KESTRELCTL_EXECUTABLE};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return words;
}

std::vector<std::string> environmentOf(const Setting& setting) {
  std::vector<std::string> words{"LC_ALL=C.UTF-8", "TERM=xterm",
                                 "TMPDIR=" + std::filesystem::temp_directory_path().string()};
  for (const auto& variable : setting.environment) {
    const std::string start = variable.first + "=";
    std::erase_if(words, [&](const std::string& word) { return word.starts_with(start); });
    words.push_back(start + variable.second);
  }
  return words;
}

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return ends;
}

// In a fresh child: whoever runs the tests in the background, or behind nohup, ignores some.
void expectSignals() {
  for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) std::signal(number, SIG_DFL);
}

// Puts as much into a pipe as it holds.
void fill(int pipe) {
  const int flags = fcntl(pipe, F_GETFL);
  fcntl(pipe, F_SETFL, flags | O_NONBLOCK);
  while (::write(pipe, "x", 1) == 1) {
  }
  fcntl(pipe, F_SETFL, flags);
}

int waitFor(pid_t id) {
  int status = 0;
  waitpid(id, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Appends what a descriptor has; closes it at its end.
void take(int& descriptor, std::string& text) {
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  } else {
    close(descriptor);
    descriptor = -1;
  }
}

}  // namespace

Program::Program(const Arguments& arguments, const Setting& setting) : arguments_(arguments) {
  const Words argv(commandLine(arguments));
  const Words environment(environmentOf(setting));
  const auto input = makePipe();
  const auto output = makePipe();
  const auto talk = makePipe();
  if (setting.talkIsFull) fill(talk[1]);
  id_ = fork();
  if (id_ == 0) {
    setsid();
    expectSignals();
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    dup2(talk[1], STDERR_FILENO);
    execve(argv.get()[0], argv.get(), environment.get());
    _exit(127);
  }
  close(input[0]);
  close(output[1]);
  close(talk[1]);
  outputEnd_ = output[0];
  talkEnd_ = talk[0];
  // Inputs of tests fit into the pipe; a program that reads none may be gone already.
  std::signal(SIGPIPE, SIG_IGN);
  static_cast<void>(!::write(input[1], setting.input.data(), setting.input.size()));
  inputEnd_ = input[1];
  if (!setting.inputStaysOpen) close(std::exchange(inputEnd_, -1));
}

Program::~Program() {
  if (status_ < 0) {
    ::kill(id_, SIGKILL);
    waitFor(id_);
  }
  for (const int end : {inputEnd_, outputEnd_, talkEnd_}) {
    if (end >= 0) close(end);
  }
}

bool Program::readSome() {
  std::array<pollfd, 2> ends{{{outputEnd_, POLLIN, 0}, {talkEnd_, POLLIN, 0}}};
  if (outputEnd_ < 0 && talkEnd_ < 0) return false;
  poll(ends.data(), ends.size(), -1);
  if (ends[0].revents != 0) take(outputEnd_, output_);
  if (ends[1].revents != 0) take(talkEnd_, talk_);
  return true;
}

void Program::waitForTalk(const std::string& text) {
  while (talk_.find(text) == std::string::npos) {
    if (!readSome()) throw std::runtime_error("ended without saying: " + text + "\n" + talk_);
  }
}

void Program::signal(int number) const { ::kill(id_, number); }

void Program::closeOutput() {
  close(outputEnd_);
  outputEnd_ = -1;
}

int Program::wait() {
  while (readSome()) {
  }
  if (status_ >= 0) return status_;
  status_ = waitFor(id_);
  expectPromisedOutput(arguments_, status_, output_, talk_);
  return status_;
}

Finished::Finished(const Arguments& arguments, const Setting& setting) {
  Program program(arguments, setting);
  status = program.wait();
  output = program.output();
  talk = program.talk();
}

TerminalProgram::TerminalProgram(const Arguments& arguments, const Setting& setting,
                                 unsigned short columns) {
  const Words argv(commandLine(arguments));
  const Words environment(environmentOf(setting));
  const winsize size{0, columns, 0, 0};
  if (openpty(&terminal_, &ourEnd_, nullptr, nullptr, &size) != 0) {
    throw std::runtime_error("no terminal");
  }
  id_ = fork();
  if (id_ == 0) {
    close(terminal_);
    if (login_tty(ourEnd_) != 0) _exit(127);
    expectSignals();
    execve(argv.get()[0], argv.get(), environment.get());
    _exit(127);
  }
}

TerminalProgram::~TerminalProgram() {
  if (status_ < 0) {
    ::kill(id_, SIGKILL);
    waitFor(id_);
  }
  close(terminal_);
  close(ourEnd_);
}

bool TerminalProgram::readSome() {
  std::array<char, 4096> buffer{};
  const ssize_t count = ::read(terminal_, buffer.data(), buffer.size());
  if (count > 0) shown_.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0;
}

void TerminalProgram::waitForText(const std::string& text) {
  while (shown_.find(text) == std::string::npos) {
    if (!readSome()) throw std::runtime_error("the terminal never showed: " + text);
  }
}

void TerminalProgram::type(const std::string& text) const {
  static_cast<void>(!::write(terminal_, text.data(), text.size()));
}

bool TerminalProgram::showsWhatIsTyped() const {
  termios state{};
  tcgetattr(ourEnd_, &state);
  return (state.c_lflag & ECHO) != 0;
}

int TerminalProgram::wait() {
  if (status_ < 0) status_ = waitFor(id_);
  // Our own end keeps the terminal open: what it holds can be read without waiting for an end.
  pollfd entry{terminal_, POLLIN, 0};
  while (poll(&entry, 1, 0) == 1 && readSome()) {
  }
  return status_;
}

}  // namespace kestrelvisor::ctl::test
