#include "kestrelctl/command_line.h"

#include "kestrelctl/command_description.h"
#include "kestrelctl/console.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/help_formatter.h"
#include "kestrelctl/option_twins.h"
#include "kestrelctl/suggestion.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/usage_errors.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl demo\n"
    "      show everything against a simulated manager on this machine\n"
    "  kestrelctl doctor --manager https://vrm.example.com --user backup\n"
    "      find out what keeps this machine and the manager apart\n"
    "  kestrelctl verify --manager https://vrm.example.com:7443 --user backup\n"
    "      ask for the password, tell whether the manager takes it, print its GUID\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup \\\n"
    "      --password-file ~/.vrm-password --ca-cert vrm.pem --save reply.pb\n"
    "      show the tree of clusters, hosts and machines, and keep the reply\n"
    "  kestrelctl scan -o json --manager https://[2001:db8::7]:7443 --user backup \\\n"
    "      | jq .counts\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 \\\n"
    "      --manager https://vrm.example.com --user backup\n"
    "      ask whether it is meant, then switch changed-block tracking off\n"
    "  kestrelctl explain 2000\n"
    "      tell what a code means, and what can be done about it\n";

constexpr const char* kDescription =
    "Reaches a KestrelVisor manager: can it be reached, what is on it, and switch\n"
    "changed-block tracking off on a virtual machine.";

constexpr const char* kFooter =
    "kestrelctl help COMMAND shows a command's options and examples. Results go to\n"
    "standard output, everything else to standard error. With -o json a failure is an\n"
    "object on standard output too.\n"
    "\n"
    "Exit status:\n"
    "  0  success                         6  the manager's certificate is not trusted\n"
    "  1  differences found (diff only)   7  time limit\n"
    "  2  wrong usage                     8  the manager refused or failed\n"
    "  3  done, but something is missing  9  the answer cannot be read\n"
    "  4  user, password or role refused  128+n  ended by signal n\n"
    "  5  the manager cannot be reached\n"
    "\n"
    "Environment:\n"
    "  KESTRELVISOR_MANAGER, ...         stands in for --manager, and so for each\n"
    "                                    option: KESTRELVISOR_CA_CERT for --ca-cert\n"
    "  KESTRELVISOR_CONTEXT              a context for what is left out even then;\n"
    "                                    --context NAME comes before the variables\n"
    "  KESTRELVISOR_PASSWORD             the password, when no option names a source;\n"
    "                                    with a warning: others may see it there\n"
    "  KESTRELVISOR_PASSWORD_KEY[_FILE]  key of passwords, see encrypt-password\n"
    "  KESTRELVISOR_CONFIG               INI file; [General] CertAuthSwitch = 0 lets\n"
    "                                    a refused certificate pass\n"
    "  NO_COLOR                          no colour on a terminal either\n"
    "  http_proxy, https_proxy, all_proxy, no_proxy, SSLKEYLOGFILE, SSL_CERT_FILE,\n"
    "  SSL_CERT_DIR, OPENSSL_CONF[_INCLUDE], OPENSSL_MODULES, OPENSSL_ENGINES\n"
    "                                    obeyed with --use-environment alone";

constexpr std::string_view kHelpWord = "help";

std::vector<std::string> commandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

using CommandWords = std::vector<const char*>;

// The words of a command line, the program's name first. "help scan" is another way to say "scan
// --help", and so is "help" alone for "--help".
CommandWords withHelpAsOption(int argc, const char* const* argv) {
  CommandWords words(argv, argv + argc);
  if (argc < 2 || words[1] != kHelpWord) return words;
  words.erase(words.begin() + 1);
  const bool isOfCommand = words.size() > 1 && words[1] != kHelpWord;
  words.insert(words.begin() + (isOfCommand ? 2 : 1), "--help");
  return words;
}

// CLI11 would only say that something is missing or too much.
void refuseUnknownCommand(const CLI::App& app, const CommandWords& words) {
  constexpr const char* kHelp = "kestrelctl --help shows commands and examples";
  if (words.size() < 2) throw wrongUsage("no command is named", kHelp);
  const std::string first = words[1];
  std::vector<std::string> names = commandNames(app);
  const bool known = std::find(names.begin(), names.end(), first) != names.end();
  if (known || first == "-h" || first == "--help" || first == "--version") return;
  if (!first.empty() && first.front() == '-') {
    throw wrongUsage("the command comes before its options, but " + first + " comes first", kHelp);
  }
  names.emplace_back(kHelpWord);
  const std::string nearest = nearestWord(first, names);
  throw wrongUsage("there is no command \"" + first + "\"",
                   nearest.empty() ? kHelp : "did you mean \"kestrelctl " + nearest + "\"?");
}

const char* headingOf(CommandGroup group) {
  switch (group) {
    case CommandGroup::manager:
      return "Commands that ask a manager";
    case CommandGroup::replies:
      return "Commands for replies that were kept";
    case CommandGroup::support:
      break;
  }
  return "Other commands";
}

// sources gets the variables and the context that have given options a value.
void addCommand(CLI::App& app, Command& command, std::vector<std::string>& sources) {
  const Command::Words& words = command.words();
  CLI::App* const ours = app.add_subcommand(words.name, words.description);
  ours->formatter(std::make_shared<HelpWithExamples>(words.examples));
  ours->footer("");
  ours->group(headingOf(words.group));
  addTwins(*ours, sources);
  command.declareOptions(*ours);
  // Where no manager is asked it is not offered.
  ours->get_option("--context")
      ->group(usesContext(*ours) ? ours->get_option("--manager")->get_group() : "");
}

// The application of the command that was named; null before there is one.
const CLI::App* namedApp(const CLI::App& app) {
  const auto named = app.get_subcommands();
  return named.empty() ? nullptr : named.front();
}

// A page ends with one line end.
std::string helpText(std::string page) {
  page.erase(page.find_last_not_of('\n') + 1);
  return page + "\n";
}

// Whether a command is to run: help and version have said all.
bool parse(CLI::App& app, const CommandWords& words) {
  try {
    app.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::CallForHelp&) {
    const CLI::App* const named = namedApp(app);
    printResult(helpText(named == nullptr ? app.help() : named->help("kestrelctl")));
    return false;
  } catch (const CLI::CallForVersion& version) {
    printResult(std::string(version.what()) + "\n");
    return false;
  } catch (const CLI::ParseError& error) {
    const CLI::App* const named = namedApp(app);
    throw usageFailure(named == nullptr ? app : *named, error);
  }
  return true;
}

// What a user does not see on the command line may be what is wrong.
void tellSources(const std::vector<std::string>& sources, Failure& failure) {
  if (!sources.empty()) failure.facts.push_back({"options", "also from " + joined(sources)});
}

}  // namespace

std::unique_ptr<Command> readCommandLine(int argc, const char* const* argv) {
  std::vector<std::string> sources;
  CLI::App app(kDescription, "kestrelctl");
  app.formatter(std::make_shared<HelpWithExamples>(kExamples));
  app.footer(kFooter);
  app.require_subcommand(0, 1);
  app.set_version_flag("--version", "kestrelctl " KESTRELCTL_VERSION);
  std::vector<std::unique_ptr<Command>> commands = allCommands();
  for (const auto& command : commands) addCommand(app, *command, sources);

  const CommandWords words = withHelpAsOption(argc, argv);
  refuseUnknownCommand(app, words);
  try {
    if (!parse(app, words)) return nullptr;
    const CLI::App& named = *namedApp(app);
    const auto chosen = std::find_if(commands.begin(), commands.end(), [&](const auto& command) {
      return named.get_name() == command->words().name;
    });
    (*chosen)->finishOptions(named);
    return std::move(*chosen);
  } catch (Failure& failure) {
    tellSources(sources, failure);
    throw;
  }
}

std::vector<CompletedCommand> describeCommands() {
  std::vector<std::string> sources;
  CLI::App app(kDescription, "kestrelctl");
  const std::vector<std::unique_ptr<Command>> commands = allCommands();
  for (const auto& command : commands) addCommand(app, *command, sources);
  std::vector<CompletedCommand> described;
  for (const CLI::App* command : std::as_const(app).get_subcommands({})) {
    described.push_back(describe(*command));
  }
  described.push_back({std::string(kHelpWord),
                       "Show the options and examples of a command",
                       {},
                       {{Completed::By::words, commandNames(app), {}}}});
  return described;
}

}  // namespace kestrelvisor::ctl
