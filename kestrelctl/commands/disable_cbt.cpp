#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/terminal_text.h"

#include <algorithm>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 \\\n"
    "      --manager https://vrm.example.com --user backup\n"
    "  The URI of a machine stands in scan -o json as .machines[].uri.\n";

void checkMachineUri(const std::string& uri) {
  const auto strange = [](char c) { return isControlByte(c) || c == ' ' || c == '?' || c == '#'; };
  if (!uri.empty() && uri.front() == '/' && std::none_of(uri.begin(), uri.end(), strange)) return;
  throw wrongUsage("VM_URI: not the URI of a machine",
                   "it looks like /service/sites/3F2A0911/vms/i-00000101; scan -o json shows it");
}

class DisableCbtCommand : public Command {
 public:
  DisableCbtCommand()
      : Command({"disable-cbt", "Switch changed-block tracking off on one virtual machine",
                 kExamples}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  OperationArguments arguments_;
  OperationRequest request_;
  std::string machineUri_;
};

void DisableCbtCommand::declareOptions(CLI::App& app) {
  app.add_option("VM_URI", machineUri_, "URI of the machine on the manager, beginning with \"/\"")
      ->required()
      ->type_name("");
  arguments_.declare(app);
}

void DisableCbtCommand::finishOptions(const CLI::App& app) {
  request_ = arguments_.read(app);
  request_.kind = OperationKind::disableCbt;
  checkMachineUri(machineUri_);
  request_.machineUri = machineUri_;
}

ExitCode DisableCbtCommand::run() {
  warnOf(perform(request_).warnings);
  printResult(
      "Changed-block tracking is off: " + printable(machineUri_, renderingOfResults().utf8) + "\n");
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeDisableCbtCommand() { return std::make_unique<DisableCbtCommand>(); }

}  // namespace kestrelvisor::ctl
