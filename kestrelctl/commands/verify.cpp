#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl verify --manager https://vrm.example.com:7443 --user backup\n"
    "  kestrelctl verify --manager https://10.1.2.3 --user backup --ca-cert vrm.pem \\\n"
    "      --password-file ~/.vrm-password && echo reachable\n";

class VerifyCommand : public Command {
 public:
  VerifyCommand()
      : Command({"verify", "Tell whether manager and account work; print its GUID", kExamples}) {}

  void declareOptions(CLI::App& app) override { arguments_.declare(app); }
  void finishOptions(const CLI::App& app) override { request_ = arguments_.read(app); }
  ExitCode run() override;

 private:
  OperationArguments arguments_;
  OperationRequest request_;
};

ExitCode VerifyCommand::run() {
  const OperationResult result = perform(request_);
  warnOf(result.warnings);
  const ConnectionOptions& connection = request_.connection;
  say("The manager " + connection.manager.url() + " accepts " + connection.user + ". Its GUID:");
  printResult(result.guid + "\n");
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeVerifyCommand() { return std::make_unique<VerifyCommand>(); }

}  // namespace kestrelvisor::ctl
