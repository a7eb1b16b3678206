#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/support/bundle.h"
#include "kestrelctl/support/last_log.h"

#include <memory>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl scan --context prod --log-file scan.log --log-level info\n"
    "  kestrelctl support-bundle bundle.txt\n"
    "      keep versions, configuration and the end of that log, without secrets\n"
    "  kestrelctl support-bundle - | less\n"
    "  It is a text: read it before you hand it on. It names managers and accounts.\n";

class SupportBundleCommand : public Command {
 public:
  SupportBundleCommand()
      : Command({"support-bundle", "Put together what helps to find out what is wrong", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  ExitCode run() override;

 private:
  std::string file_;
  std::string logFile_;  // empty: the last one
};

void SupportBundleCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "FILE", file_, "Where it goes; - is standard output")
      ->required()
      ->type_name("");
  addFileOption(app, "--log", logFile_,
                "Take the end of this log; without it of the one that --log-file named last");
}

ExitCode SupportBundleCommand::run() {
  const bool goesToFile = file_ != "-";
  const std::string log = logFile_.empty() ? lastLog() : logFile_;
  if (goesToFile) {
    checkDistinct({{"the bundle", file_}, {"the log", log}});
    checkReplaceable("support-bundle", file_);
  }
  const LogEnd end = endOfLog(log);
  if (!logFile_.empty() && !end.problem.empty()) {
    throw wrongUsage("--log: " + logFile_ + " cannot be read: " + end.problem);
  }
  const std::string bundle = supportBundle(KESTRELCTL_VERSION, end);
  if (!goesToFile) {
    printResult(bundle);
    return ExitCode::success;
  }
  replaceFile(file_, bundle);
  say("The bundle is in " + file_ + ". Read it before you hand it on.");
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeSupportBundleCommand() {
  return std::make_unique<SupportBundleCommand>();
}

}  // namespace kestrelvisor::ctl
