#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"

namespace kestrelvisor::ctl {
namespace {

class VersionCommand : public Command {
 public:
  VersionCommand()
      : Command({"version", "Print the version", "Examples:\n  kestrelctl version\n"}) {}

  void declareOptions(CLI::App&) override {}
  ExitCode run() override {
    printResult("kestrelctl " KESTRELCTL_VERSION "\n");
    return ExitCode::success;
  }
};

}  // namespace

std::unique_ptr<Command> makeVersionCommand() { return std::make_unique<VersionCommand>(); }

}  // namespace kestrelvisor::ctl
