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

struct Ends {
  Descriptor ours;
  Descriptor theirs;
};

// A child inherits an end only where it is told to. A socket's writer survives a reader that is
// gone.
Ends connectedEnds() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("no pipe to a child process");
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

}  // namespace

Descriptor::~Descriptor() {
  if (number_ != kNone) close(number_);
}

ChildProcess::ChildProcess(std::vector<std::string> words) : program_(words.at(0)) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  Ends input = connectedEnds();
  Ends output = connectedEnds();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.theirs.number(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.theirs.number(), STDOUT_FILENO);
  const int failure =
      posix_spawnp(&id_, program_.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::runtime_error("cannot start " + program_);
  input_ = std::move(input.ours);
  output_ = std::move(output.ours);
}

ChildProcess::~ChildProcess() {
  input_ = Descriptor();
  output_ = Descriptor();
  kill(id_, SIGTERM);
  waitpid(id_, nullptr, 0);
}

void ChildProcess::write(const std::string& text) const {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count =
        send(input_.number(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) throw std::runtime_error(program_ + " does not read its input");
    sent += static_cast<std::size_t>(count);
  }
}

std::string ChildProcess::readLine() {
  std::string line;
  for (char letter = 0;;) {
    if (read(output_.number(), &letter, 1) != 1)
      throw std::runtime_error(program_ + " has ended: " + line);
    if (letter == '\n') return line;
    line += letter;
  }
}

}  // namespace kestrelvisor::bench
