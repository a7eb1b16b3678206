#include "kestrelctl/certificates/kept_key.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/diagnosis/checks.h"
#include "kestrelctl/diagnosis/diagnosis_views.h"
#include "kestrelctl/diagnosis/examination.h"
#include "kestrelctl/diagnosis/proxy_choice.h"
#include "kestrelctl/foreign_settings.h"
#include "kestrelctl/libraries.h"

#include <memory>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl doctor --manager https://vrm.example.com --user backup\n"
    "      look at each step from the name to the list of sites\n"
    "  kestrelctl doctor --manager https://vrm.example.com\n"
    "      the same without a login\n"
    "  kestrelctl doctor -q --context prod && echo well\n"
    "  kestrelctl doctor -o json --context prod \\\n"
    "      | jq -r '.checks[] | select(.verdict == \"fail\") | .remedy'\n"
    "  The exit status is that with which an operation would end over the first\n"
    "  check that fails.\n";

class DoctorCommand : public Command {
 public:
  DoctorCommand()
      : Command({"doctor", "Find out what keeps this machine and a manager apart", kExamples}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void tell(const CheckResult& result) const;

  OperationArguments arguments_;
  OperationRequest request_;
  OutputFormat format_ = OutputFormat::text;
  bool quiet_ = false;
};

void DoctorCommand::declareOptions(CLI::App& app) {
  app.add_flag("-q,--quiet", quiet_,
               "Show only what fails or deserves a warning; a document has all checks");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::text));
  arguments_.declare(app);
  app.get_option("--user")->required(false)->description(
      "Account on the manager; without it no login is tried");
  app.get_option("--timeout")
      ->description(
          "Time for all checks together, such as 30s or 2m; a plain number counts seconds. A "
          "minute unless told, of which each step gets 10 seconds at most");
}

void DoctorCommand::finishOptions(const CLI::App& app) {
  if (app.count("--user") > 0) {
    request_ = arguments_.read(app);
  } else {
    request_ = arguments_.readDoor(app);
    demandKeptKey(request_.connection);
  }
}

void DoctorCommand::tell(const CheckResult& result) const {
  const Verdict verdict = result.finding.verdict;
  const bool isWorthIt = verdict == Verdict::warn || verdict == Verdict::fail;
  if (format_ != OutputFormat::text || (quiet_ && !isWorthIt)) return;
  printResult(findingText(result, renderingOfResults()));
}

ExitCode DoctorCommand::run() {
  // Before they are forgotten.
  const std::vector<std::string> proxies = proxiesThatAreSet();
  const std::string proxy = proxyVariableFor(request_.connection.manager);
  prepareLibraries(request_.connection.useEnvironment);
  Examination examination({request_, proxies, proxy});
  std::vector<CheckResult> results;
  for (const Check& check : checks()) {
    const bool hasFailed = exitCodeOf(results) != ExitCode::success;
    results.push_back({check, findingOf(check, examination, hasFailed)});
    tell(results.back());
  }
  warnOf(examination.warnings());
  if (format_ != OutputFormat::text) {
    printResult(diagnosisDocument(request_.connection, results, examination.warnings(), format_));
  } else if (!quiet_) {
    say(diagnosisSummary(results));
  }
  return exitCodeOf(results);
}

}  // namespace

std::unique_ptr<Command> makeDoctorCommand() { return std::make_unique<DoctorCommand>(); }

}  // namespace kestrelvisor::ctl
