#include "kestrelctl/cbt_request.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/documents/operation_documents.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/libraries.h"
#include "kestrelctl/terminal_prompt.h"
#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <memory>
#include <regex>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 \\\n"
    "      --manager https://vrm.example.com --user backup\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 --dry-run \\\n"
    "      --manager https://vrm.example.com --user backup\n"
    "      show the request, send nothing\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 --yes \\\n"
    "      --manager https://vrm.example.com --user backup --password-stdin < secret\n"
    "      for scripts: without a question\n"
    "  scan -o name prints the URIs of machines, find -o name those of some.\n";

// Whether a segment is "." or "..", however it is written. libcurl or the manager would take it
// out, and the request be for another URI than the one that was confirmed.
bool hasDotSegment(const std::string& uri) {
  static const std::regex kDots("/(\\.|%2e){1,2}(/|$)", std::regex::icase);
  return std::regex_search(uri, kDots);
}

void checkMachineUri(const std::string& uri) {
  const auto strange = [](char c) { return isControlByte(c) || c == ' ' || c == '?' || c == '#'; };
  const bool isPath = !uri.empty() && uri.front() == '/';
  if (isPath && std::none_of(uri.begin(), uri.end(), strange) && !hasDotSegment(uri)) return;
  throw wrongUsage("VM_URI: not the URI of a machine",
                   "it looks like /service/sites/3F2A0911/vms/i-00000101; scan -o name shows it");
}

bool isYes(const std::string& answer) {
  for (const char* const word : {"y", "Y", "yes", "Yes", "YES"}) {
    if (answer == word) return true;
  }
  return false;
}

// A request in the form of the wire, but for its first line, which has the whole URL.
std::string requestText(const PlannedRequest& request) {
  const bool utf8 = renderingOfResults().utf8;
  std::string text = request.method + " " + printable(request.url, utf8) + "\n";
  for (const PlannedRequest::Header& header : request.headers) {
    text += header.name + ":" + printable(header.value, utf8) + "\n";
  }
  return text + "\n" + request.body;
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
  void confirm() const;
  ExitCode showRequest() const;

  OperationArguments arguments_;
  OperationRequest request_;
  OutputFormat format_ = OutputFormat::text;
  std::string machineUri_;
  bool yes_ = false;
  bool dryRun_ = false;
};

void DisableCbtCommand::declareOptions(CLI::App& app) {
  app.add_option("VM_URI", machineUri_, "URI of the machine on the manager, beginning with \"/\"")
      ->required()
      ->type_name("");
  app.add_flag("-y,--yes", yes_, "Do not ask whether it is meant");
  app.add_flag("--dry-run", dryRun_, "Show the request and send nothing; needs no password");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::text));
  arguments_.declare(app);
}

void DisableCbtCommand::finishOptions(const CLI::App& app) {
  request_ = arguments_.read(app);
  request_.kind = OperationKind::disableCbt;
  checkMachineUri(machineUri_);
  request_.machineUri = machineUri_;
}

// Only yes goes ahead. Whatever else is answered ends as wrong usage does, with nothing sent: a
// script must not take it for success.
void DisableCbtCommand::confirm() const {
  const std::string machine = printable(machineUri_, renderingOfTalk().utf8);
  std::string answer;
  const bool asked = askWithEcho("Switch changed-block tracking off on " + machine + " at " +
                                     request_.connection.manager.url() + "? [y/N] ",
                                 answer);
  if (!asked) {
    throw wrongUsage("disable-cbt asks first, and there is no terminal to ask on",
                     "--yes goes ahead without asking; --dry-run shows the request alone");
  }
  if (!isYes(answer)) {
    throw wrongUsage("disable-cbt: not confirmed, so nothing was sent",
                     "only y or yes goes ahead; --yes goes ahead without asking");
  }
}

ExitCode DisableCbtCommand::showRequest() const {
  prepareLibraries(request_.connection.useEnvironment);
  const PlannedRequest planned = cbtRequest(request_.connection.manager, machineUri_);
  if (format_ != OutputFormat::text) {
    printResult(dryRunDocument(request_, planned, format_));
    return ExitCode::success;
  }
  printResult(requestText(planned));
  say(std::string("Nothing was sent. ") + kTokenWord + " and " + kRestVersionWord +
      " stand for what the manager gives.");
  return ExitCode::success;
}

ExitCode DisableCbtCommand::run() {
  if (dryRun_) return showRequest();
  if (!yes_) confirm();
  const OperationResult result = perform(request_);
  warnOf(result.warnings);
  const bool utf8 = renderingOfResults().utf8;
  printResult(format_ == OutputFormat::text
                  ? "Changed-block tracking is off: " + printable(machineUri_, utf8) + "\n"
                  : disableCbtDocument(request_, result, format_));
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeDisableCbtCommand() { return std::make_unique<DisableCbtCommand>(); }

}  // namespace kestrelvisor::ctl
