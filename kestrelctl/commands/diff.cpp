#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/comparison/reply_comparison.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/reply_file.h"
#include "kestrelctl/views/comparison_views.h"

#include <memory>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl diff monday.pb tuesday.pb\n"
    "  kestrelctl diff monday.pb tuesday.pb --stat\n"
    "  kestrelctl diff monday.pb tuesday.pb -o jsonl | grep '\"change\":\"moved\"'\n"
    "  The exit code is 0 when the replies do not differ, 1 when they do, and 2 or\n"
    "  more when they cannot be compared.\n";

class DiffCommand : public Command {
 public:
  DiffCommand()
      : Command({"diff", "Tell what has changed between two kept replies", kExamples,
                 CommandGroup::replies}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  std::string oldFile_;
  std::string newFile_;
  OutputFormat format_ = OutputFormat::table;
  bool countsOnly_ = false;
};

void DiffCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "OLD", oldFile_, "The earlier reply, which scan has kept; - is standard input")
      ->required()
      ->type_name("");
  addFileOption(app, "NEW", newFile_, "The later one, likewise")->required()->type_name("");
  addFormatOption(app, format_,
                  {OutputFormat::table, OutputFormat::wide, OutputFormat::json, OutputFormat::jsonl,
                   OutputFormat::yaml, OutputFormat::name});
  app.add_flag("--stat", countsOnly_, "Only how much was added, removed, moved and so on");
}

void DiffCommand::finishOptions(const CLI::App&) {
  if (oldFile_ == "-" && newFile_ == "-") {
    throw wrongUsage("diff: both replies cannot come from standard input", "name a file for one");
  }
  if (countsOnly_ && format_ == OutputFormat::name) {
    throw wrongUsage("diff: --stat has no names to print", "leave out -o name, or --stat");
  }
}

ExitCode DiffCommand::run() {
  const ScanEnvironmentReply before = readReplyFile(oldFile_);
  const ScanEnvironmentReply after = readReplyFile(newFile_);
  const ReplyIndex beforeIndex(before);
  const ReplyIndex afterIndex(after);
  const ReplyComparison comparison(beforeIndex, afterIndex);
  warnOf(comparison.warnings());
  showComparison(comparison, format_,
                 countsOnly_ ? ComparisonDetail::counts : ComparisonDetail::differences,
                 renderingOfResults(), printResult);
  if (!comparison.isSame()) return ExitCode::differences;
  say("The replies do not differ.");
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeDiffCommand() { return std::make_unique<DiffCommand>(); }

}  // namespace kestrelvisor::ctl
