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

const ActionWord& actionNamed(const std::string& word) {
  for (const ActionWord& known : kActions) {
    if (word == known.word) return known;
  }
  throw wrongUsage("contexts: there is no action \"" + word + "\"",
                   "list, show NAME, add NAME or remove NAME");
}

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
  void remove() const;
  void printDocument(const ContextSettings& settings) const;
  void print(const Contexts& contexts) const;

  OperationArguments arguments_;
  OutputFormat format_ = OutputFormat::table;
  std::string word_ = "list";
  Action action_ = Action::list;
  std::string name_;
  bool replace_ = false;
  ContextSettings settings_;  // of add
};

void ContextsCommand::declareOptions(CLI::App& app) {
  CLI::Option* const action =
      app.add_option("ACTION", word_,
                     "list (the default), show NAME, add NAME or remove NAME; add keeps what the "
                     "options say");
  offerWords(*action, "list,show,add,remove");
  app.add_option("NAME", name_, "The name of a context")->type_name("");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::table));
  app.add_flag("--replace", replace_, "Let add take the place of a context of that name");
  declareSettings(app);
}

// Whatever else says how to reach a manager is no option here: it could not be kept. What is kept
// is what was said: no variable and no other context, whose password may be for another manager,
// gets into a context unseen.
void ContextsCommand::declareSettings(CLI::App& app) {
  const auto own = static_cast<std::ptrdiff_t>(app.get_options().size());
  arguments_.declare(app);
  const std::vector<CLI::Option*> all = app.get_options();
  for (auto option = all.begin() + own; option != all.end(); ++option) {
    (*option)->required(false);
    if (isSetting(**option)) {
      (*option)->configurable(false);
    } else {
      app.remove_option(*option);
    }
  }
}

void ContextsCommand::finishOptions(const CLI::App& app) {
  if (isSaid(app, "--context")) {
    throw wrongUsage("contexts: --context has no place here",
                     "kestrelctl contexts show NAME shows a context");
  }
  const ActionWord& known = actionNamed(word_);
  action_ = known.action;
  if (known.wantsName == name_.empty()) {
    throw wrongUsage("contexts: " + word_ +
                     (known.wantsName ? " needs the name of a context" : " takes no name"));
  }
  if (action_ == Action::add) return readSettings(app);
  refuseSettings(app);
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

// Whoever says what a context is to hold has meant add.
void ContextsCommand::refuseSettings(const CLI::App& app) {
  for (const CLI::Option* option : app.parse_order()) {
    if (!isSetting(*option) && !option->check_lname("replace")) continue;
    throw wrongUsage("contexts: only add takes " + option->get_name());
  }
}

void ContextsCommand::add() const {
  keepContext(name_, settings_, replace_ ? Replacing::yes : Replacing::no);
  say("The context " + name_ + " is kept in " + contextFile() + ".");
  printDocument(settings_);
}

void ContextsCommand::remove() const {
  const ContextSettings settings = forgetContext(name_);
  say("There is no context " + name_ + " any more.");
  printDocument(settings);
}

// People have been told already.
void ContextsCommand::printDocument(const ContextSettings& settings) const {
  if (format_ != OutputFormat::table) print({{name_, settings}});
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
      remove();
      break;
  }
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeContextsCommand() { return std::make_unique<ContextsCommand>(); }

}  // namespace kestrelvisor::ctl
