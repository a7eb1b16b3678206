#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/reply_file.h"
#include "kestrelctl/reply_warnings.h"
#include "kestrelctl/views/show_reply.h"

#include <memory>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl show reply.pb\n"
    "  kestrelctl show reply.pb -o table\n"
    "  kestrelctl show reply.pb -o jsonl | grep '\"record\":\"datastore\"'\n"
    "  kestrelctl show reply.pb -o name   # machines, as disable-cbt takes them\n"
    "  A reply is kept by scan --save FILE.\n";

class ShowCommand : public Command {
 public:
  ShowCommand()
      : Command({"show", "Show a reply that scan has kept", kExamples, CommandGroup::replies}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App&) override { refuseBytesOnTerminal(format_); }
  ExitCode run() override;

 private:
  std::string file_;
  OutputFormat format_ = OutputFormat::tree;
};

void ShowCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "FILE", file_, "The reply; - reads it from standard input")
      ->required()
      ->type_name("");
  addFormatOption(app, format_, formatsOfReplies());
}

ExitCode ShowCommand::run() {
  const ScanEnvironmentReply reply = readReplyFile(file_);
  const ReplyIndex index(reply);
  const ReplyNotes notes{{}, warningsOf(index, "the reply")};
  warnOf(notes.warnings);
  showReply(index, format_, notes, renderingOfResults(), printResult);
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeShowCommand() { return std::make_unique<ShowCommand>(); }

}  // namespace kestrelvisor::ctl
