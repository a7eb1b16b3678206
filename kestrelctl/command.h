#pragma once

#include "kestrelctl/exit_code.h"

#include <memory>
#include <vector>

namespace CLI {
class App;
}

namespace kestrelvisor::ctl {

// Under which heading the help page shows a command.
enum class CommandGroup { manager, replies, support };

// One thing that kestrelctl can be told to do. It owns what its options say, from their declaration
// to its end.
class Command {
 public:
  // How help shows it. The texts live as long as the program.
  struct Words {
    const char* name;
    const char* description;  // a line
    const char* examples;     // a heading and indented lines
    CommandGroup group = CommandGroup::manager;
  };

  explicit Command(const Words& words) : words_(words) {}
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  const Words& words() const { return words_; }

  virtual void declareOptions(CLI::App& app) = 0;
  // Looks at what no single option can tell, once all have been read. Throws a Failure of wrong
  // usage.
  virtual void finishOptions(const CLI::App&) {}
  // Throws a Failure, ClosedPipe or Interrupted when it does not come to its end.
  virtual ExitCode run() = 0;

 private:
  Words words_;
};

// All of them, in the order of the help page.
std::vector<std::unique_ptr<Command>> allCommands();

}  // namespace kestrelvisor::ctl
