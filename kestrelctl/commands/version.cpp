#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/documents/versions.h"

#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl version\n"
    "  kestrelctl version -o json | jq -r .libcurl\n";

class VersionCommand : public Command {
 public:
  VersionCommand()
      : Command({"version", "Print the versions of kestrelctl and its libraries", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override {
    addFormatOption(app, format_, formsOfDocument(OutputFormat::text));
  }
  ExitCode run() override {
    printResult(format_ == OutputFormat::text ? versionText(KESTRELCTL_VERSION)
                                              : versionDocument(KESTRELCTL_VERSION, format_));
    return ExitCode::success;
  }

 private:
  OutputFormat format_ = OutputFormat::text;
};

}  // namespace

std::unique_ptr<Command> makeVersionCommand() { return std::make_unique<VersionCommand>(); }

}  // namespace kestrelvisor::ctl
