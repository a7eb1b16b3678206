#include "bench/scan/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace kestrelvisor::bench {
namespace {

// Ends that a child inherits only where it is told to. A socket's writer survives a reader that is
// gone.
std::array<int, 2> connectedEnds() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("no pipe to a child process");
  }
  return ends;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> words) : program_(words.at(0)) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const auto input = connectedEnds();
  const auto output = connectedEnds();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  const int failure =
      posix_spawnp(&id_, program_.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  input_ = input[1];
  output_ = output[0];
  if (failure == 0) return;
  close(input_);
  close(output_);
  throw std::runtime_error("cannot start " + program_);
}

ChildProcess::~ChildProcess() {
  close(input_);
  close(output_);
  kill(id_, SIGTERM);
  waitpid(id_, nullptr, 0);
}

void ChildProcess::write(const std::string& text) const {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = send(input_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) throw std::runtime_error(program_ + " does not read its input");
    sent += static_cast<std::size_t>(count);
  }
}

std::string ChildProcess::readLine() {
  std::string line;
  for (char letter = 0;;) {
    if (read(output_, &letter, 1) != 1) throw std::runtime_error(program_ + " has ended: " + line);
    if (letter == '\n') return line;
    line += letter;
  }
}

}  // namespace kestrelvisor::bench
