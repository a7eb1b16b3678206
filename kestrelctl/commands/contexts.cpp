#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/contexts/context_file.h"
#include "kestrelctl/contexts/context_views.h"
#include "kestrelctl/failure.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl contexts add prod --manager https://vrm.example.com --user backup \\\n"
    "      --ca-cert vrm.pem --password-command 'pass show vrm'\n"
    "  kestrelctl scan --context prod\n"
    "  kestrelctl contexts                # the contexts that there are\n"
    "  kestrelctl contexts show prod\n"
    "  kestrelctl contexts remove prod\n"
    "  They are in ~/.config/kestrelctl/contexts.toml, a table for each. A password\n"
    "  has no place there: password-file or password-command tells where it is.\n";

enum class Action { list, show, add, remove };

struct ActionWord {
  const char* word;
  Action action;
  bool wantsName;
};
constexpr std::array<ActionWord, 4> kActions{{{"list", Action::list, false},
                                              {"show", Action::show, true},
                                              {"add", Action::add, true},
                                              {"remove", Action::remove, true}}};

bool isSetting(const CLI::Option& option) {
  const std::vector<std::string>& keys = contextKeys();
  return std::any_of(keys.begin(), keys.end(),
                     [&](const std::string& key) { return option.check_lname(key); });
}

// Files are found from everywhere: their paths become whole.
std::string settingOf(const CLI::Option& option) {
  const std::string& value = option.results().back();
  const bool isSwitch = option.get_items_expected_max() == 0;
  if (isSwitch) return CLI::detail::to_flag_value(value) > 0 ? "true" : "false";
  const bool isFile = option.get_type_name() == "FILE";
  return isFile ? std::filesystem::absolute(value).string() : value;
}

class ContextsCommand : public Command {
 public:
  ContextsCommand()
      : Command({"contexts", "Keep managers by name, for --context", kExamples,
                 CommandGroup::support}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void declareSettings(CLI::App& app);
  void readSettings(const CLI::App& app);
  static void refuseSettings(const CLI::App& app);
  void add() const;
  void print(const Contexts& contexts) const;

  OperationArguments arguments_;
  OutputFormat format_ = OutputFormat::table;
  std::vector<std::string> words_;  // nothing, or an action and a name
  Action action_ = Action::list;
  std::string name_;
  bool replace_ = false;
  ContextSettings settings_;  // of add
};

void ContextsCommand::declareOptions(CLI::App& app) {
  CLI::Option* const action =
      app.add_option("ACTION", words_,
                     "list (the default), show NAME, add NAME or remove NAME; add keeps what the "
                     "options say");
  offerWords(*action->expected(0, 2), "list,show,add,remove");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::table));
  app.add_flag("--replace", replace_, "Let add take the place of a context of that name");
  declareSettings(app);
}

// Whatever else says how to reach a manager is no option here: it could not be kept.
void ContextsCommand::declareSettings(CLI::App& app) {
  const auto own = static_cast<std::ptrdiff_t>(app.get_options().size());
  arguments_.declare(app);
  const std::vector<CLI::Option*> all = app.get_options();
  for (auto option = all.begin() + own; option != all.end(); ++option) {
    (*option)->required(false);
    if (!isSetting(**option)) app.remove_option(*option);
  }
}

void ContextsCommand::finishOptions(const CLI::App& app) {
  if (words_.empty()) return refuseSettings(app);
  for (const ActionWord& known : kActions) {
    if (words_[0] != known.word) continue;
    action_ = known.action;
    if (known.wantsName != (words_.size() == 2)) {
      throw wrongUsage("contexts: " + words_[0] +
                       (known.wantsName ? " needs the name of a context" : " takes no name"));
    }
    if (known.wantsName) name_ = words_[1];
    if (action_ == Action::add) return readSettings(app);
    return refuseSettings(app);
  }
  throw wrongUsage("contexts: there is no action \"" + words_[0] + "\"",
                   "list, show NAME, add NAME or remove NAME");
}

void ContextsCommand::readSettings(const CLI::App& app) {
  checkContextName(name_);
  if (app.count("--manager") == 0) throw wrongUsage("contexts: add needs --manager");
  static_cast<void>(arguments_.readDoor(app));  // refuses what no command could use
  for (const std::string& key : contextKeys()) {
    const CLI::Option& option = *app.get_option("--" + key);
    if (option.count() == 0) continue;
    settings_[key] = settingOf(option);
  }
}

// Whoever says what a context is to hold has meant add. What stands in the environment is not said.
void ContextsCommand::refuseSettings(const CLI::App& app) {
  for (const CLI::Option* option : app.parse_order()) {
    if (!isSetting(*option) && !option->check_lname("replace")) continue;
    throw wrongUsage("contexts: only add takes " + option->get_name());
  }
}

void ContextsCommand::add() const {
  if (!replace_ && readContexts().count(name_) > 0) {
    throw wrongUsage("there is a context \"" + name_ + "\" already",
                     "--replace takes its place; contexts show " + name_ + " shows it");
  }
  keepContext(name_, settings_);
  say("The context " + name_ + " is kept in " + contextFile() + ".");
}

void ContextsCommand::print(const Contexts& contexts) const {
  if (format_ != OutputFormat::table) return printResult(contextDocument(contexts, format_));
  if (contexts.empty()) {
    return say("There is no context yet; kestrelctl contexts add NAME makes one.");
  }
  printResult(action_ == Action::show ? contextText(contexts.begin()->second, renderingOfResults())
                                      : contextTable(contexts, renderingOfResults()));
}

ExitCode ContextsCommand::run() {
  switch (action_) {
    case Action::list:
      print(readContexts());
      break;
    case Action::show:
      print({{name_, contextNamed(name_)}});
      break;
    case Action::add:
      add();
      break;
    case Action::remove:
      forgetContext(name_);
      say("There is no context " + name_ + " any more.");
      break;
  }
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeContextsCommand() { return std::make_unique<ContextsCommand>(); }

}  // namespace kestrelvisor::ctl
