#include "vrmsim/command_line.h"

#include "vrmsim/certificate_matrix.h"
#include "vrmsim/fault_rule.h"
#include "vrmsim/help_text.h"
#include "vrmsim/inventory_file.h"
#include "vrmsim/inventory_generator.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <fstream>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <type_traits>

namespace kestrelvisor::vrmsim {
namespace {

constexpr int kCannotWrite = 1;
constexpr int kWrongUsage = 2;

constexpr std::size_t kHelpColumn = 28;  // where an option's explanation starts

constexpr const char* kDescription =
    "A KestrelVisor manager that lives on one machine: serves an inventory over the\n"
    "manager's REST interface, does wrong what it is asked to, and is ended by\n"
    "SIGTERM or SIGINT. A line on standard output tells the address once it can be\n"
    "reached.\n";

constexpr const char* kExamples =
    "Examples:\n"
    "  vrmsim                                a small generated site on a free port\n"
    "  vrmsim --tls --cert-out manager.pem   over HTTPS; clients trust manager.pem\n"
    "  vrmsim --clusters 1 --hosts 2 --vms 5 --print-inventory > site.json\n"
    "  vrmsim --inventory site.json --port 7443 --tls\n"
    "  vrmsim --clusters 20 --hosts 2000 --vms 20000 --datastores 100 --seed 7\n"
    "  vrmsim --fault 'path=/service/sites nth=2 status=503'\n"
    "  vrmsim --fault 'path=*/vms* cut=body:100' --fault 'chance=5 delay=2s'\n"
    "  vrmsim --faults faults.json --require-faults --request-log requests.jsonl\n"
    "\n"
    "Exit status: 0 ended by a signal, 1 the address cannot be served or a file not\n"
    "written, 2 wrong usage or an input file that cannot be used, 3 a fault never\n"
    "fired and --require-faults was given.";

// Keeps to the width of a terminal: long explanations are broken, and what CLI11 would write beside
// an option's name is left out or told in the explanation.
class NarrowHelp : public CLI::Formatter {
 public:
  NarrowHelp() { column_width(kHelpColumn); }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? type : " " + type.substr(0, type.find(':'));
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string usual = option->get_default_str();
    const std::string text = option->get_description() + (usual.empty() ? "" : " [" + usual + "]");
    return wrapped(text, kHelpWidth - kHelpColumn, 0);
  }

  std::string make_group(std::string group, bool positional,
                         std::vector<const CLI::Option*> options) const override {
    const std::string text = CLI::Formatter::make_group(group, positional, options);
    return text.substr(text.find_first_not_of('\n'));
  }

  std::string make_usage(const CLI::App* app, std::string name) const override {
    return CLI::Formatter::make_usage(app, std::move(name)) + "\n";
  }
};

// What CLI11 fills before it becomes Settings.
struct Arguments {
  Settings settings;
  User user;
  InventorySizes sizes;
  std::string inventoryFile;
  std::string passwordFile;
  std::vector<std::string> roles;
  std::vector<std::string> versions;
  std::uint64_t tokenValiditySeconds = 1800;
  std::vector<std::string> faults;
  std::string faultFile;
  bool helpFaults = false;
  bool resumesTls = false;
};

// An empty value comes from a script's variable that is not set; nobody means the default by it.
CLI::Option* addFileOption(CLI::App& app, const char* name, std::string& target,
                           const std::string& help) {
  const auto problem = [](const std::string& value) {
    return value.empty() ? "no file is named" : std::string();
  };
  return app.add_option(name, target, help)->type_name("FILE")->check(problem);
}

// CLI11 takes -1 for the largest number and says of others only that it could not convert them.
template <class Number>
std::string isNumber(const std::string& value) {
  Number read = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, read);
  if (error == std::errc() && stop == end) return {};
  return "expected a number from 0 to " + std::to_string(std::numeric_limits<Number>::max());
}

// As the other complaints begin.
std::string complaintOf(const CLI::App*, const CLI::Error& error) {
  return std::string("vrmsim: ") + error.what() + "\nvrmsim --help tells the options.\n";
}

std::string isCertificateCase(const std::string& name) {
  try {
    certificateCase(name);
    return {};
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
}

void addServerOptions(CLI::App& app, Arguments& arguments) {
  SimulatorOptions& options = arguments.settings.options;
  const char* const group = "Server";
  app.add_option("--bind", options.bindAddress, "Address to listen on")
      ->capture_default_str()
      ->group(group);
  app.add_option("--port", options.port, "Port to listen on; 0 takes a free one")
      ->capture_default_str()
      ->check(isNumber<std::uint16_t>)
      ->group(group);
  auto* const tls = app.add_flag("--tls", options.tls,
                                 "Serve HTTPS with a self-signed certificate made at the start");
  tls->group(group);
  addFileOption(app, "--cert-out", arguments.settings.certificateFile,
                "Write what a client has to trust as PEM to this file")
      ->needs(tls)
      ->group(group);
  app.add_option("--certificate", options.certificate,
                 "Serve a certificate with this fault or peculiarity instead")
      ->type_name("NAME")
      ->check(isCertificateCase)
      ->needs(tls)
      ->group(group);
  app.add_flag("--tls-resumption,!--no-tls-resumption", arguments.resumesTls,
               "Let clients resume TLS sessions, or not [yes, but not with --certificate]")
      ->needs(tls)
      ->group(group);
  app.add_flag("--list-certificates", arguments.settings.listCertificates,
               "Write the names for --certificate with what they mean to standard output and end")
      ->group(group);
  addFileOption(app, "--request-log", arguments.settings.requestLogFile,
                "Write one JSON line for each request to this file")
      ->group(group);
}

void addInventoryOptions(CLI::App& app, Arguments& arguments) {
  InventorySizes& sizes = arguments.sizes;
  const char* const group = "Inventory";
  auto* const file = addFileOption(app, "--inventory", arguments.inventoryFile,
                                   "Serve the inventory of this file");
  file->group(group);
  const auto size = [&](const char* name, auto& value, const char* help) {
    app.add_option(name, value, help)
        ->capture_default_str()
        ->check(isNumber<std::remove_reference_t<decltype(value)>>)
        ->excludes(file)
        ->group(group);
  };
  size("--clusters", sizes.clusters, "Generate this many clusters");
  size("--hosts", sizes.hosts, "Generate this many hosts in all");
  size("--standalone-hosts", sizes.standaloneHosts, "How many of them belong to no cluster");
  size("--vms", sizes.vms, "Generate this many virtual machines");
  size("--disks", sizes.disks, "Disks of each virtual machine");
  size("--datastores", sizes.datastores, "Generate this many datastores");
  size("--hosts-per-datastore", sizes.hostsPerDatastore,
       "How many hosts of a cluster reach each of its datastores; 0: all");
  size("--seed", sizes.seed, "The same sizes and seed give the same inventory");
  app.add_flag("--print-inventory", arguments.settings.printInventory,
               "Write the inventory as JSON to standard output and end")
      ->group(group);
}

void addSessionOptions(CLI::App& app, Arguments& arguments) {
  const char* const group = "Sessions";
  app.add_option("--user", arguments.user.name, "Name of the user who may log in")
      ->capture_default_str()
      ->group(group);
  addFileOption(app, "--password-file", arguments.passwordFile,
                "File whose first line is the user's password [" + User{}.password + "]")
      ->group(group);
  app.add_option("--role", arguments.roles, "Role of the user; repeatable [administrator]")
      ->allow_extra_args(false)
      ->group(group);
  app.add_option("--token-validity", arguments.tokenValiditySeconds,
                 "How long a session lasts after its login, in seconds")
      ->capture_default_str()
      ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1000000000}))
      ->group(group);
  app.add_option("--api-version", arguments.versions,
                 "REST version to offer, repeatable, in this order [v1.2 v6.0 v6.5]")
      ->allow_extra_args(false)
      ->group(group);
}

void addFaultOptions(CLI::App& app, Arguments& arguments) {
  SimulatorOptions& options = arguments.settings.options;
  const char* const group = "Faults";
  app.add_option("--fault", arguments.faults, "Go wrong by this rule; repeatable")
      ->type_name("RULE")
      ->allow_extra_args(false)
      ->group(group);
  addFileOption(app, "--faults", arguments.faultFile, "Go wrong by the rules of this JSON file")
      ->group(group);
  app.add_option("--fault-seed", options.faultSeed,
                 "The same rules and seed send the same bytes; goes before the file's seed")
      ->check(isNumber<std::uint64_t>)
      ->group(group);
  app.add_option("--control-port", options.controlPort,
                 "Take faults while running, over HTTP on this port of 127.0.0.1; 0 takes a free "
                 "one. A second line on standard output tells it")
      ->check(isNumber<std::uint16_t>)
      ->group(group);
  app.add_flag("--require-faults", arguments.settings.requireFaults,
               "End with status 3 when a fault never fired")
      ->group(group);
  app.add_flag("--help-faults", arguments.helpFaults, "Tell what a fault rule can say, and end")
      ->group(group);
}

std::string readPassword(const std::string& path) {
  std::ifstream file(path);
  std::string password;
  if (!std::getline(file, password)) {
    throw std::invalid_argument("--password-file: " + path + " cannot be read or is empty");
  }
  if (!password.empty() && password.back() == '\r') password.pop_back();
  return password;
}

// A size that contradicts the default of another one gives way to it.
InventorySizes reconciled(const CLI::App& app, InventorySizes sizes) {
  if (app.count("--standalone-hosts") > 0) return sizes;
  if (sizes.clusters == 0) sizes.standaloneHosts = sizes.hosts;
  sizes.standaloneHosts = std::min(sizes.standaloneHosts, sizes.hosts);
  return sizes;
}

void takeFaults(Arguments& arguments) {
  SimulatorOptions& options = arguments.settings.options;
  if (!arguments.faultFile.empty()) {
    FaultDocument document = loadFaultDocument(arguments.faultFile);
    options.faults = std::move(document.rules);
    if (!options.faultSeed) options.faultSeed = document.seed;
  }
  for (const std::string& rule : arguments.faults) options.faults.push_back(parseFaultRule(rule));
}

Settings settingsFrom(const CLI::App& app, Arguments arguments) {
  SimulatorOptions& options = arguments.settings.options;
  options.inventory = arguments.inventoryFile.empty()
                          ? generateInventory(reconciled(app, arguments.sizes))
                          : loadInventory(arguments.inventoryFile);
  if (!arguments.passwordFile.empty()) {
    arguments.user.password = readPassword(arguments.passwordFile);
  }
  if (!arguments.roles.empty()) arguments.user.roles = arguments.roles;
  if (!arguments.versions.empty()) options.versions = arguments.versions;
  options.users = {arguments.user};
  options.tokenValidity = std::chrono::seconds(arguments.tokenValiditySeconds);
  options.keepJournal = false;
  if (app.count("--tls-resumption") > 0) options.tlsResumption = arguments.resumesTls;
  takeFaults(arguments);
  return std::move(arguments.settings);
}

}  // namespace

CommandLine readCommandLine(int argc, const char* const* argv) {
  CLI::App app(kDescription, "vrmsim");
  Arguments arguments;
  addInventoryOptions(app, arguments);
  addServerOptions(app, arguments);
  addSessionOptions(app, arguments);
  addFaultOptions(app, arguments);
  app.set_version_flag("--version", "vrmsim " VRMSIM_VERSION);
  app.footer(kExamples);
  app.formatter(std::make_shared<NarrowHelp>());
  app.failure_message(complaintOf);
  try {
    app.parse(argc, argv);
    if (arguments.helpFaults) {
      std::cout << faultHelp() << std::flush;
      return {std::nullopt, std::cout ? 0 : kCannotWrite};
    }
    return {settingsFrom(app, std::move(arguments)), 0};
  } catch (const CLI::ParseError& error) {
    return {std::nullopt, app.exit(error) == 0 ? 0 : kWrongUsage};
  } catch (const std::exception& error) {  // of a file, a size or a fault
    std::cerr << "vrmsim: " << error.what() << "\n";
    return {std::nullopt, kWrongUsage};
  }
}

}  // namespace kestrelvisor::vrmsim
