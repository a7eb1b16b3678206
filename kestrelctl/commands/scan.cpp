#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/commands/live_scan.h"
#include "kestrelctl/completion/name_index.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/reply_index.h"
#include "kestrelctl/views/show_reply.h"
#include "kestrelctl/watch/accounting_view.h"

#include <memory>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup --save a.pb\n"
    "  kestrelctl scan -o json --manager https://vrm.example.com --user backup \\\n"
    "      | jq -r '.machines[] | [.name, .uri] | @tsv'\n";

class ScanCommand : public Command {
 public:
  ScanCommand()
      : Command(
            {"scan", "Show the clusters, hosts, machines and datastores of a site", kExamples}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void keep(const OperationResult& result, const ReplyIndex& index) const;

  OperationArguments arguments_;
  OperationRequest request_;
  OutputFormat format_ = OutputFormat::tree;
  std::string saveFile_;        // empty: the reply is not kept
  std::string testerDumpFile_;  // empty: the dump is dropped
  bool strict_ = false;
};

void ScanCommand::declareOptions(CLI::App& app) {
  addFormatOption(app, format_, formatsOfReplies());
  addFileOption(app, "--save", saveFile_, "Keep the reply in this file, as protobuf");
  addFileOption(app, "--tester-dump", testerDumpFile_,
                "Keep the engine's dump for testers in this file");
  app.add_flag("--strict", strict_,
               "End with exit status 3 when machines are missing from the result; templates and "
               "linked clones may be");
  arguments_.declare(app);
  arguments_.declareProgress(app);
}

void ScanCommand::finishOptions(const CLI::App& app) {
  request_ = arguments_.read(app);
  request_.kind = OperationKind::scan;
  request_.keepsTesterDump = !testerDumpFile_.empty();
  checkDistinct({{"--save", saveFile_},
                 {"--tester-dump", testerDumpFile_},
                 {"--log-file", request_.log.file}});
  refuseBytesOnTerminal(format_);
}

// A failure takes the scan's warnings along: programs get nothing but the failure then.
void ScanCommand::keep(const OperationResult& result, const ReplyIndex& index) const try {
  if (!saveFile_.empty()) {
    replaceFile(saveFile_, protobufOf(result.reply));
    keepNames(index);
    say("The reply is kept in " + saveFile_ + ".");
  }
  if (!testerDumpFile_.empty()) replaceFile(testerDumpFile_, result.testerDump);
} catch (Failure& failure) {
  failure.warnings = result.warnings;
  throw;
}

ExitCode ScanCommand::run() {
  if (!saveFile_.empty()) checkReplaceable("--save", saveFile_);
  if (!testerDumpFile_.empty()) checkReplaceable("--tester-dump", testerDumpFile_);
  const OperationResult result = scanWithProgress(request_);
  const ReplyIndex index(result.reply);
  keep(result, index);
  warnOf(result.warnings);
  const Accounting& accounting = result.accounting.value();
  showReply(index, format_, {accounting, result.warnings}, renderingOfResults(), printResult);
  for (const std::string& line : accountingSummary(accounting)) say(line);
  return strict_ && accounting.isIncomplete() ? ExitCode::partial : ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeScanCommand() { return std::make_unique<ScanCommand>(); }

}  // namespace kestrelvisor::ctl
