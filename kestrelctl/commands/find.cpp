#include "kestrelctl/ascii.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/commands/live_scan.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/finding/reply_filter.h"
#include "kestrelctl/finding/size_text.h"
#include "kestrelctl/reply_file.h"
#include "kestrelctl/reply_index.h"
#include "kestrelctl/reply_warnings.h"
#include "kestrelctl/views/show_reply.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl find --reply a.pb --name 'web-*' --larger 100GiB\n"
    "  kestrelctl find --reply a.pb --guest '*windows*' -i --host cna-01 -o wide\n"
    "  kestrelctl find --reply a.pb --kind disk --datastore 'slow-*' -o jsonl\n"
    "  kestrelctl find --manager https://vrm.example.com --user backup --group VDI \\\n"
    "      -o name   # machines, as disable-cbt takes them\n"
    "  Conditions must all hold; of an option that is repeated, one value must. A\n"
    "  GLOB is a shell's: * any text, ? any character, [a-z] one of these, \\* a star.\n"
    "  The whole name must match. What is not there is no error: the exit code is 0.\n";

constexpr const char* kEveryKind = "all";
constexpr const char* kGroup = "What is looked for";

// Small letters, and nothing between words: "Open-Stack" is the group "open stack".
std::string plainWord(const std::string& text) {
  std::string word;
  for (const char c : text) {
    if (c == ' ' || c == '-' || c == '_') continue;
    word += lowerCase(c);
  }
  return word;
}

std::string groupOfWord(const std::string& text) {
  for (const char* const group : kGroupNames) {
    if (plainWord(group) == plainWord(text)) return group;
  }
  throw wrongUsage("--group: there is no group \"" + text + "\"",
                   "general, \"open stack\", KM, VDI or other");
}

long double bytesOf(const char* option, const std::string& text) {
  const auto bytes = bytesOfSizeText(text);
  if (bytes) return *bytes;
  throw wrongUsage(std::string(option) + ": \"" + text + "\" is no size",
                   "a number and its unit, like 100GiB, 1.5TiB or 500GB");
}

// For those who look for a part of a name, as many tools do.
std::string hintOfWholeText(const ReplyFilter& filter) {
  for (const auto* patterns :
       {&filter.names, &filter.guestSystems, &filter.hosts, &filter.clusters, &filter.datastores}) {
    for (const std::string& pattern : *patterns) {
      if (pattern.find_first_of("*?[") != std::string::npos) continue;
      return " A GLOB must match the whole text: '*" + pattern + "*' finds its parts, too.";
    }
  }
  return {};
}

class FindCommand : public Command {
 public:
  FindCommand()
      : Command({"find", "Find machines and more, in a kept reply or live", kExamples,
                 CommandGroup::replies}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void declareFilter(CLI::App& app);
  void declareSizes(CLI::App& app);
  void declareLive(CLI::App& app);
  void finishFilter(const CLI::App& app);
  void finishSource(const CLI::App& app);

  OperationArguments arguments_;
  OperationRequest request_;  // used when no file is named
  std::string replyFile_;
  OutputFormat format_ = OutputFormat::table;
  ReplyFilter filter_;
  std::vector<std::string> kinds_;
  std::vector<std::string> groups_;
  std::string larger_;
  std::string smaller_;
};

void FindCommand::declareOptions(CLI::App& app) {
  addFileOption(app, "--reply", replyFile_,
                "Look in this reply, which scan has kept, instead of asking a manager; - is "
                "standard input");
  addFormatOption(app, format_,
                  {OutputFormat::table, OutputFormat::wide, OutputFormat::json, OutputFormat::jsonl,
                   OutputFormat::yaml, OutputFormat::csv, OutputFormat::name});
  declareFilter(app);
  declareSizes(app);
  declareLive(app);
}

// Whoever limits a search that asks nobody, or names a password for it, has meant another one.
void FindCommand::declareLive(CLI::App& app) {
  const auto own = static_cast<std::ptrdiff_t>(app.get_options().size());
  arguments_.declare(app);
  arguments_.declareProgress(app);
  for (const char* option : {"--manager", "--user"}) app.get_option(option)->required(false);
  const std::vector<CLI::Option*> all = app.get_options();
  CLI::Option* const reply = app.get_option("--reply");
  for (auto option = all.begin() + own; option != all.end(); ++option) reply->excludes(*option);
}

void FindCommand::declareFilter(CLI::App& app) {
  const auto add = [&app](const char* name, std::vector<std::string>& target, const char* type,
                          const char* description) {
    return app.add_option(name, target, description)
        ->allow_extra_args(false)
        ->type_name(type)
        ->group(kGroup);
  };
  CLI::Option* const kind = add("--kind", kinds_, "KIND",
                                "machine (the default), disk, host, cluster, site, datastore, "
                                "other or all");
  std::set<std::string> kinds{kEveryKind};
  for (const ItemKind known : kItemKinds) kinds.insert(itemKindName(known));
  kind->check(CLI::IsMember(kinds));
  add("--name", filter_.names, "GLOB", "Its name");
  add("--guest", filter_.guestSystems, "GLOB", "Guest system of the machine");
  add("--group", groups_, "GROUP", "Group of the machine: general, \"open stack\", KM, VDI, other");
  add("--host", filter_.hosts, "GLOB", "Host that it is on, or that reaches the datastore");
  add("--cluster", filter_.clusters, "GLOB",
      "Cluster that it is in, or that reaches the datastore");
  add("--datastore", filter_.datastores, "GLOB",
      "Datastore that one of its disks is on, or that the host or cluster reaches");
  app.add_flag("-i,--ignore-case", filter_.ignoresCase, "Capital and small letters are the same")
      ->group(kGroup);
}

void FindCommand::declareSizes(CLI::App& app) {
  app.add_option("--larger", larger_,
                 "More than this: 100GiB, 1.5TiB; GB and TB are in steps of 1000")
      ->type_name("SIZE")
      ->group(kGroup);
  app.add_option("--smaller", smaller_, "Less than this")->type_name("SIZE")->group(kGroup);
}

void FindCommand::finishFilter(const CLI::App& app) {
  if (kinds_.empty()) kinds_.push_back(itemKindName(ItemKind::machine));
  const bool every = std::find(kinds_.begin(), kinds_.end(), kEveryKind) != kinds_.end();
  for (const ItemKind kind : kItemKinds) {
    const bool named = std::find(kinds_.begin(), kinds_.end(), itemKindName(kind)) != kinds_.end();
    if (named && !every) filter_.kinds.insert(kind);
  }
  for (const std::string& group : groups_) filter_.groups.insert(groupOfWord(group));
  if (app.count("--larger") > 0) filter_.moreThanBytes = bytesOf("--larger", larger_);
  if (app.count("--smaller") > 0) filter_.lessThanBytes = bytesOf("--smaller", smaller_);
}

void FindCommand::finishSource(const CLI::App& app) {
  const CLI::Option& manager = *app.get_option("--manager");
  if (replyFile_.empty()) {
    if (manager.empty()) {
      throw wrongUsage("find: neither a reply nor a manager is named",
                       "--reply FILE looks in a kept reply, --manager URL asks a manager");
    }
    if (app.count("--user") == 0)
      throw wrongUsage("find: --user is required with --manager",
                       "--user NAME names an account on it");
    request_ = arguments_.read(app);
    request_.kind = OperationKind::scan;
  }
}

void FindCommand::finishOptions(const CLI::App& app) {
  finishFilter(app);
  finishSource(app);
}

ExitCode FindCommand::run() {
  OperationResult result;
  if (replyFile_.empty()) {
    result = scanWithProgress(request_);
  } else {
    result.reply = readReplyFile(replyFile_);
    result.warnings = warningsOf(ReplyIndex(result.reply), "the reply");
  }
  warnOf(result.warnings);
  const ReplyIndex index(result.reply);
  const ReplySelection selection = found(index, filter_);
  showFound(index, selection, format_, result.warnings, renderingOfResults(), printResult);
  if (selection.size() == 0) say("Nothing was found." + hintOfWholeText(filter_));
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeFindCommand() { return std::make_unique<FindCommand>(); }

}  // namespace kestrelvisor::ctl
