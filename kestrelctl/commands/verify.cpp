#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/documents/operation_documents.h"

#include <memory>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl verify --manager https://vrm.example.com:7443 --user backup\n"
    "  kestrelctl verify --manager https://10.1.2.3 --user backup --ca-cert vrm.pem \\\n"
    "      --password-file ~/.vrm-password && echo reachable\n"
    "  kestrelctl verify -o json --manager https://vrm.example.com --user backup \\\n"
    "      --password-command 'pass show vrm' | jq -r .guid\n";

class VerifyCommand : public Command {
 public:
  VerifyCommand()
      : Command({"verify", "Tell whether manager and account work; print its GUID", kExamples}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override { request_ = arguments_.read(app); }
  ExitCode run() override;

 private:
  OperationArguments arguments_;
  OperationRequest request_;
  OutputFormat format_ = OutputFormat::name;
};

void VerifyCommand::declareOptions(CLI::App& app) {
  addFormatOption(app, format_, formsOfDocument(OutputFormat::name));
  arguments_.declare(app);
}

ExitCode VerifyCommand::run() {
  const OperationResult result = perform(request_);
  warnOf(result.warnings);
  if (format_ != OutputFormat::name) {
    printResult(verifyDocument(request_, result, format_));
    return ExitCode::success;
  }
  const ConnectionOptions& connection = request_.connection;
  say("The manager " + connection.manager.url() + " accepts " + connection.user + ". Its GUID:");
  printResult(result.guid + "\n");
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeVerifyCommand() { return std::make_unique<VerifyCommand>(); }

}  // namespace kestrelvisor::ctl
