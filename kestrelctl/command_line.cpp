#include "kestrelctl/command_line.h"

#include "kestrelctl/console.h"
#include "kestrelctl/suggestion.h"
#include "kestrelctl/terminal_text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <memory>
#include <sstream>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl demo\n"
    "      show everything against a simulated manager on this machine\n"
    "  kestrelctl verify --manager https://vrm.example.com:7443 --user backup\n"
    "      ask for the password, tell whether the manager takes it, print its GUID\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup \\\n"
    "      --password-file ~/.vrm-password --ca-cert vrm.pem --save reply.pb\n"
    "      show the tree of clusters, hosts and machines, and keep the reply\n"
    "  kestrelctl scan -o json --manager https://[2001:db8::7]:7443 --user backup \\\n"
    "      | jq .counts\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 \\\n"
    "      --manager https://vrm.example.com --user backup --password-stdin < secret\n";

constexpr const char* kDescription =
    "Reaches a KestrelVisor manager: can it be reached, what is on it, and switch\n"
    "changed-block tracking off on a virtual machine.";

constexpr const char* kFooter =
    "kestrelctl COMMAND --help shows a command's options and examples. Results go to\n"
    "standard output, everything else to standard error.\n"
    "\n"
    "Exit status:\n"
    "  0  success                         6  the manager's certificate is not trusted\n"
    "  2  wrong usage                     7  time limit\n"
    "  3  done, but something is missing  8  the manager refused or failed\n"
    "  4  user, password or role refused  9  the answer cannot be read\n"
    "  5  the manager cannot be reached   128+n  ended by signal n\n"
    "\n"
    "Environment:\n"
    "  KESTRELVISOR_MANAGER              stands in for --manager\n"
    "  KESTRELVISOR_USER                 stands in for --user\n"
    "  KESTRELVISOR_PASSWORD             the password, when no option names a source\n"
    "  KESTRELVISOR_PASSWORD_KEY[_FILE]  key of passwords, see encrypt-password\n"
    "  KESTRELVISOR_CONFIG               INI file; [General] CertAuthSwitch = 0 lets\n"
    "                                    a refused certificate pass\n"
    "  NO_COLOR                          no colour on a terminal either\n"
    "  http_proxy, https_proxy, all_proxy, no_proxy, SSLKEYLOGFILE, SSL_CERT_FILE,\n"
    "  SSL_CERT_DIR, OPENSSL_CONF[_INCLUDE], OPENSSL_MODULES, OPENSSL_ENGINES\n"
    "                                    obeyed with --use-environment alone";

constexpr const char* kVerifyExamples =
    "Examples:\n"
    "  kestrelctl verify --manager https://vrm.example.com:7443 --user backup\n"
    "  kestrelctl verify --manager https://10.1.2.3 --user backup --ca-cert vrm.pem \\\n"
    "      --password-file ~/.vrm-password && echo reachable\n";

constexpr const char* kScanExamples =
    "Examples:\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup\n"
    "  kestrelctl scan --manager https://vrm.example.com --user backup --save a.pb\n"
    "  kestrelctl scan -o json --manager https://vrm.example.com --user backup \\\n"
    "      | jq -r '.machines[] | [.name, .uri] | @tsv'\n";

constexpr const char* kDisableCbtExamples =
    "Examples:\n"
    "  kestrelctl disable-cbt /service/sites/3F2A0911/vms/i-00000101 \\\n"
    "      --manager https://vrm.example.com --user backup\n"
    "  The URI of a machine stands in scan -o json as .machines[].uri.\n";

constexpr const char* kEncryptExamples =
    "Examples:\n"
    "  kestrelctl encrypt-password --new-key backup.key   # makes the key and uses it\n"
    "  KESTRELVISOR_PASSWORD_KEY_FILE=backup.key kestrelctl encrypt-password\n";

constexpr const char* kDemoExamples =
    "Examples:\n"
    "  kestrelctl demo\n"
    "  kestrelctl demo --inventory my-site.json --save my-reply.pb\n";

constexpr std::size_t kHelpColumn = 26;  // where an option's explanation starts
constexpr std::size_t kHelpWidth = 54;   // and how wide it is

// Shows an application's examples right below its description.
class HelpWithExamples : public CLI::Formatter {
 public:
  explicit HelpWithExamples(std::string examples) : examples_(std::move(examples)) {
    column_width(kHelpColumn);
  }

  std::string make_description(const CLI::App* app) const override {
    return app->get_description() + "\n\n" + examples_ + "\n";
  }

  std::string make_usage(const CLI::App* app, std::string name) const override {
    if (!app->get_subcommands({}).empty()) return "Usage: " + name + " COMMAND [OPTIONS]\n\n";
    std::string text = "Usage: kestrelctl " + app->get_name();
    for (const CLI::Option* option : app->get_options()) {
      if (option->get_positional()) text += " " + option->get_name(true);
    }
    return text + " [OPTIONS]\n\n";
  }

  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override {
    const std::string text = CLI::Formatter::make_group(group, isPositional, options);
    return text.substr(text.find_first_not_of('\n')) + (isPositional ? "\n" : "");
  }

  std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
    const std::string name = CLI::Formatter::make_option_name(option, isPositional);
    return name.substr(0, name.find('{'));
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? type : " " + type.substr(0, type.find(':'));
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    return wrapped(option->get_description(), kHelpWidth);
  }

  // A line for each command, without its examples.
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode) const override {
    std::ostringstream text;
    for (const CLI::App* command : app->get_subcommands({})) {
      text << "  " << std::left << std::setw(18) << command->get_name()
           << command->get_description() << "\n";
    }
    return text.str().empty() ? std::string() : "\nCommands:\n" + text.str();
  }

 private:
  std::string examples_;
};

// What CLI11 fills before it becomes an Invocation.
struct Arguments {
  Invocation invocation;
  std::string manager;
  bool strictTls = true;
  std::string logLevel;
  std::string format = "tree";
};

CLI::App* addCommand(CLI::App& app, const char* name, const char* description,
                     const char* examples) {
  CLI::App* const command = app.add_subcommand(name, description);
  command->formatter(std::make_shared<HelpWithExamples>(examples));
  command->footer("");
  return command;
}

// An empty value comes from a script's variable that is not set; nobody means the default by it.
std::string problemOfFileName(const std::string& name) {
  return name.empty() ? "no file is named" : std::string();
}

CLI::Option* addFileOption(CLI::App& command, const char* name, std::string& target,
                           const char* description) {
  return command.add_option(name, target, description)->type_name("FILE")->check(problemOfFileName);
}

void addPasswordOptions(CLI::App& command, PasswordSource& source) {
  const char* const group = "Password (never on the command line)";
  CLI::Option* const file =
      addFileOption(command, "--password-file", source.file,
                    "File that holds the password; only its owner may have access");
  file->group(group);
  command
      .add_flag("--password-stdin", source.standardInput, "Read the password from standard input")
      ->excludes(file)
      ->group(group);
}

void addManagerOptions(CLI::App& command, Arguments& arguments, const char* group) {
  ConnectionOptions& connection = arguments.invocation.connection;
  command
      .add_option("--manager", arguments.manager,
                  "https://HOST[:PORT] or http://HOST[:PORT], an IPv6 address in brackets; port "
                  "7443 unless told (KESTRELVISOR_MANAGER)")
      ->required()
      ->type_name("URL")
      ->envname("KESTRELVISOR_MANAGER")
      ->group(group);
  command.add_option("--user", connection.user, "Account on the manager (KESTRELVISOR_USER)")
      ->required()
      ->type_name("NAME")
      ->envname("KESTRELVISOR_USER")
      ->group(group);
  CLI::Option* const keep =
      command.add_flag("--keep-address", connection.keepAddress,
                       "Stay with the host of --manager where the manager reports another "
                       "address for its site; with neither this nor the next option nothing "
                       "is sent to such an address");
  keep->group(group);
  command
      .add_flag("--follow-address", connection.followAddress,
                "Go to whatever address the manager reports for its site, and log in there")
      ->excludes(keep)
      ->group(group);
  command
      .add_flag("--use-environment", connection.useEnvironment,
                "Obey the environment's proxies and other settings of libcurl and OpenSSL; they "
                "are ignored otherwise")
      ->group(group);
}

void addCertificateOptions(CLI::App& command, Arguments& arguments, const char* group) {
  addFileOption(command, "--ca-cert", arguments.invocation.connection.certificateFile,
                "Trust this certificate or CA alone, a PEM file; without it the system's "
                "trust store")
      ->group(group);
  command
      .add_flag("--strict-tls,!--no-strict-tls", arguments.strictTls,
                "Refuse a manager whose certificate is not trusted; --no-strict-tls goes on "
                "after a refused certificate")
      ->group(group);
}

void addConnectionOptions(CLI::App& command, Arguments& arguments) {
  const char* const group = "Manager";
  addManagerOptions(command, arguments, group);
  addCertificateOptions(command, arguments, group);
  addPasswordOptions(command, arguments.invocation.connection.password);
}

void addLogOptions(CLI::App& command, Arguments& arguments) {
  const char* const group = "Log";
  command
      .add_option("--log-level", arguments.logLevel,
                  "What the engine logs: trace, info, note, warning, error or off; off unless "
                  "told, info in a file")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"trace", "info", "note", "warning", "error", "off"}))
      ->group(group);
  addFileOption(command, "--log-file", arguments.invocation.log.file,
                "Append the log to this file instead of standard error")
      ->group(group);
}

void addVerify(CLI::App& app, Arguments& arguments) {
  CLI::App* const command = addCommand(
      app, "verify", "Tell whether manager and account work; print its GUID", kVerifyExamples);
  addConnectionOptions(*command, arguments);
  addLogOptions(*command, arguments);
}

void addScan(CLI::App& app, Arguments& arguments) {
  CLI::App* const command = addCommand(
      app, "scan", "Show the clusters, hosts, machines and datastores of a site", kScanExamples);
  ScanOptions& scan = arguments.invocation.scan;
  command->add_option("-o,--output", arguments.format, "tree (the default) or json")
      ->type_name("FORM")
      ->check(CLI::IsMember({"tree", "json"}));
  addFileOption(*command, "--save", scan.saveFile, "Keep the reply in this file, as protobuf");
  addFileOption(*command, "--tester-dump", scan.testerDumpFile,
                "Keep the engine's dump for testers in this file");
  addConnectionOptions(*command, arguments);
  addLogOptions(*command, arguments);
}

void addDisableCbt(CLI::App& app, Arguments& arguments) {
  CLI::App* const command =
      addCommand(app, "disable-cbt", "Switch changed-block tracking off on one virtual machine",
                 kDisableCbtExamples);
  command
      ->add_option("VM_URI", arguments.invocation.machineUri,
                   "URI of the machine on the manager, beginning with \"/\"")
      ->required()
      ->type_name("");
  addConnectionOptions(*command, arguments);
  addLogOptions(*command, arguments);
}

void addEncryptPassword(CLI::App& app, Arguments& arguments) {
  CLI::App* const command =
      addCommand(app, "encrypt-password",
                 "Print a password in the form that hosts hand to the engine", kEncryptExamples);
  addFileOption(*command, "--new-key", arguments.invocation.encrypt.newKeyFile,
                "Make a fresh key, write it to this new file and use it");
  addPasswordOptions(*command, arguments.invocation.encrypt.password);
}

void addDemo(CLI::App& app, Arguments& arguments) {
  CLI::App* const command = addCommand(
      app, "demo", "Show it all against a simulated manager on this machine", kDemoExamples);
  DemoOptions& demo = arguments.invocation.demo;
  addFileOption(*command, "--vrmsim", demo.vrmsim,
                "The simulator; without it the one beside kestrelctl");
  addFileOption(*command, "--inventory", demo.inventory,
                "What the simulated manager serves; without it the sample site");
  addFileOption(*command, "--save", demo.saveFile,
                "Where the reply is kept [kestrelvisor-demo-reply.pb]");
}

std::vector<std::string> commandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

// CLI11 would only say that something is missing or too much.
void refuseUnknownCommand(const CLI::App& app, int argc, const char* const* argv) {
  constexpr const char* kHelp = "kestrelctl --help shows commands and examples";
  if (argc < 2) throw wrongUsage("no command is named", kHelp);
  const std::string first = argv[1];
  const std::vector<std::string> names = commandNames(app);
  const bool known = std::find(names.begin(), names.end(), first) != names.end();
  if (known || first == "-h" || first == "--help" || first == "--version") return;
  if (!first.empty() && first.front() == '-') {
    throw wrongUsage("the command comes before its options, but " + first + " comes first", kHelp);
  }
  const std::string nearest = nearestWord(first, names);
  throw wrongUsage("there is no command \"" + first + "\"",
                   nearest.empty() ? kHelp : "did you mean \"kestrelctl " + nearest + "\"?");
}

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// The first option that the command does not know; an empty text when there is none.
std::string unknownOption(const CLI::App& command) {
  for (const std::string& extra : command.remaining()) {
    if (extra.size() > 1 && extra.front() == '-') return extra.substr(0, extra.find('='));
  }
  return {};
}

Failure failureOf(const CLI::App& command, const CLI::ParseError& error) {
  const std::string& name = command.get_name();
  const std::string help = "kestrelctl " + name + " --help shows options and examples";
  if (const std::string unknown = unknownOption(command); !unknown.empty()) {
    const std::string meant = nearestWord(unknown, optionNames(command));
    return wrongUsage(name + ": there is no option " + unknown,
                      meant.empty() ? help : "did you mean " + meant + "?");
  }
  std::string what = error.what();
  while (!what.empty() && what.back() == '\n') what.pop_back();
  return wrongUsage(name + ": " + what, help);
}

int levelNumber(const std::string& word) {
  constexpr std::array<const char*, 6> kWords{"trace", "info", "note", "warning", "error", "off"};
  const auto* const found = std::find(kWords.begin(), kWords.end(), word);
  return static_cast<int>(found - kWords.begin());
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

void checkUser(const std::string& user) {
  if (user.empty()) throw wrongUsage("--user: no name is given");
  if (std::any_of(user.begin(), user.end(), isControl)) {
    throw wrongUsage("--user: a line end or control character in the name");
  }
}

void checkMachineUri(const std::string& uri) {
  const auto strange = [](char c) { return isControl(c) || c == ' ' || c == '?' || c == '#'; };
  if (!uri.empty() && uri.front() == '/' && std::none_of(uri.begin(), uri.end(), strange)) return;
  throw wrongUsage("VM_URI: not the URI of a machine",
                   "it looks like /service/sites/3F2A0911/vms/i-00000101; scan -o json shows it");
}

Invocation finished(const CLI::App& command, Arguments arguments) {
  Invocation& invocation = arguments.invocation;
  invocation.command = std::map<std::string, Command>{
      {"verify", Command::verify},
      {"scan", Command::scan},
      {"disable-cbt", Command::disableCbt},
      {"encrypt-password", Command::encryptPassword},
      {"demo", Command::demo},
      {"version",
       Command::version}}.at(command.get_name());
  if (command.get_option_no_throw("--manager") != nullptr) {
    ConnectionOptions& connection = invocation.connection;
    connection.manager = readManagerAddress(arguments.manager);
    checkUser(connection.user);
    if (command.count("--strict-tls") > 0) connection.strictTls = arguments.strictTls;
  }
  if (!arguments.logLevel.empty()) invocation.log.level = levelNumber(arguments.logLevel);
  invocation.scan.format = arguments.format == "json" ? ReplyFormat::json : ReplyFormat::tree;
  if (invocation.command == Command::disableCbt) checkMachineUri(invocation.machineUri);
  return std::move(invocation);
}

}  // namespace

std::optional<Invocation> readCommandLine(int argc, const char* const* argv) {
  CLI::App app(kDescription, "kestrelctl");
  app.formatter(std::make_shared<HelpWithExamples>(kExamples));
  app.footer(kFooter);
  app.set_version_flag("--version", "kestrelctl " KESTRELCTL_VERSION);
  Arguments arguments;
  addVerify(app, arguments);
  addScan(app, arguments);
  addDisableCbt(app, arguments);
  addEncryptPassword(app, arguments);
  addDemo(app, arguments);
  addCommand(app, "version", "Print the version", "Examples:\n  kestrelctl version\n");

  refuseUnknownCommand(app, argc, argv);
  const std::string command = argv[1];
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const auto parsed = app.get_subcommands();
    printResult(parsed.empty() ? app.help() : parsed.front()->help("kestrelctl"));
    return std::nullopt;
  } catch (const CLI::CallForVersion& version) {
    printResult(std::string(version.what()) + "\n");
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw failureOf(*app.get_subcommand(command), error);
  }
  return finished(*app.get_subcommands().front(), std::move(arguments));
}

}  // namespace kestrelvisor::ctl
