#include "kestrelctl/demo.h"

#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"

#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl demo\n"
    "  kestrelctl demo --inventory my-site.json --save my-reply.pb\n";

class DemoCommand : public Command {
 public:
  DemoCommand()
      : Command({"demo", "Show it all against a simulated manager on this machine", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  ExitCode run() override { return runDemo(options_); }

 private:
  DemoOptions options_;
};

void DemoCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "--vrmsim", options_.vrmsim,
                "The simulator; without it the one beside kestrelctl");
  addFileOption(app, "--inventory", options_.inventory,
                "What the simulated manager serves; without it the sample site");
  addFileOption(app, "--save", options_.saveFile,
                "Where the reply is kept [kestrelvisor-demo-reply.pb]");
}

}  // namespace

std::unique_ptr<Command> makeDemoCommand() { return std::make_unique<DemoCommand>(); }

}  // namespace kestrelvisor::ctl
