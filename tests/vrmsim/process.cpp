#include "tests/vrmsim/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace kestrelvisor::vrmsim::test {
namespace {

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    read = ends[0];
    write = ends[1];
  }
  int read;
  int write;
};

// A pipe that may be written to when nobody reads any more.
struct InputPipe {
  InputPipe() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
      throw std::runtime_error("no pipe");
    }
    read = ends[0];
    write = ends[1];
  }
  int read;
  int write;
};

// Reads what there is; false at the end.
bool readSome(int handle, std::string& text) {
  char buffer[4096];
  const ssize_t count = ::read(handle, buffer, sizeof buffer);
  if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
  return count > 0;
}

pid_t spawn(const std::string& program, const std::vector<std::string>& arguments, int input,
            int output, int errors) {
  std::vector<std::string> words{program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
  pid_t id = -1;
  const int failure = posix_spawn(&id, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::runtime_error("cannot start " + program);
  return id;
}

}  // namespace

Process::Process(const std::string& program, const std::vector<std::string>& arguments) {
  const InputPipe input;
  const Pipe output;
  const Pipe errors;
  input_ = input.write;
  output_ = output.read;
  errors_ = errors.read;
  id_ = spawn(program, arguments, input.read, output.write, errors.write);
  close(input.read);
  close(output.write);
  close(errors.write);
}

Process::~Process() {
  if (!ended_) {
    ::kill(id_, SIGKILL);
    wait();
  }
  close(input_);
  close(output_);
  close(errors_);
}

void Process::write(const std::string& text) const {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = ::send(input_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

std::string Process::readLine() {
  std::string line;
  char letter = 0;
  while (::read(output_, &letter, 1) == 1 && letter != '\n') line += letter;
  return line;
}

void Process::signal(int number) const { ::kill(id_, number); }

int Process::wait() {
  if (ended_) return status_;
  int status = 0;
  waitpid(id_, &status, 0);
  ended_ = true;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return status_;
}

std::string Process::restOfOutput() {
  readBoth();
  return std::move(outputText_);
}

std::string Process::errors() {
  readBoth();
  return std::move(errorText_);
}

// By turns: a program that fills one pipe would wait for ever for the reader of the other.
void Process::readBoth() {
  std::array<pollfd, 2> ends{{{output_, POLLIN, 0}, {errors_, POLLIN, 0}}};
  while (ends[0].fd >= 0 || ends[1].fd >= 0) {
    if (::poll(ends.data(), ends.size(), -1) < 0) continue;
    if (ends[0].revents != 0 && !readSome(output_, outputText_)) ends[0].fd = -1;
    if (ends[1].revents != 0 && !readSome(errors_, errorText_)) ends[1].fd = -1;
  }
}

pid_t onlyChildOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream stat(entry.path() / "stat");
    std::string line;
    std::getline(stat, line);
    const std::size_t nameEnd = line.rfind(") ");
    if (nameEnd == std::string::npos) continue;  // it has ended meanwhile
    std::istringstream words(line.substr(nameEnd + 2));
    char state = 0;
    pid_t itsParent = 0;
    words >> state >> itsParent;
    if (itsParent == parent) children.push_back(std::stoi(name));
  }
  if (children.size() != 1) throw std::runtime_error("not one child");
  return children.front();
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vrmsim-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;  // a test that failed for another reason must not end here
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& text) const {
  std::ofstream(file(name), std::ios::binary) << text;
  return file(name);
}

std::string TemporaryFolder::read(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

}  // namespace kestrelvisor::vrmsim::test
