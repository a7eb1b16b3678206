#include "kestrelctl/command_options.h"

#include "kestrelctl/certificates/kept_key.h"
#include "kestrelctl/duration.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <array>
#include <map>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kManagerGroup = "Manager";

// An empty value comes from a script's variable that is not set; nobody means the default by it.
std::string problemOfFileName(const std::string& name) {
  return name.empty() ? "no file is named" : std::string();
}

const std::map<OutputFormat, std::string>& formatNames() {
  static const std::map<OutputFormat, std::string> names{
      {OutputFormat::text, "text"},        {OutputFormat::table, "table"},
      {OutputFormat::wide, "wide"},        {OutputFormat::tree, "tree"},
      {OutputFormat::json, "json"},        {OutputFormat::jsonl, "jsonl"},
      {OutputFormat::yaml, "yaml"},        {OutputFormat::csv, "csv"},
      {OutputFormat::dot, "dot"},          {OutputFormat::name, "name"},
      {OutputFormat::protobuf, "protobuf"}};
  return names;
}

// Takes one of these words. The check sees the word, not the value that it stands for.
template <class Value>
CLI::Option* addChoice(CLI::App& app, const char* name, Value& target,
                       const std::map<std::string, Value>& choices,
                       const std::string& description) {
  const auto take = [&target, choices](const std::string& word) { target = choices.at(word); };
  return app.add_option_function<std::string>(name, take, description)
      ->check(CLI::IsMember(choices));
}

int levelNumber(const std::string& word) {
  constexpr std::array<const char*, 6> kWords{"trace", "info", "note", "warning", "error", "off"};
  const auto* const found = std::find(kWords.begin(), kWords.end(), word);
  return static_cast<int>(found - kWords.begin());
}

// Not every command has every option.
bool isGiven(const CLI::App& app, const char* name) {
  const CLI::Option* const option = app.get_option_no_throw(name);
  return option != nullptr && option->count() > 0;
}

void checkUser(const std::string& user) {
  if (user.empty()) {
    throw wrongUsage("--user: no name is given",
                     "name an account; a variable that is not set gives none");
  }
  if (std::any_of(user.begin(), user.end(), isControlByte)) {
    throw wrongUsage("--user: a line end or control character in the name",
                     "give the account's name alone, on one line");
  }
}

// A login over plain HTTP can be read, and its session used, by whoever listens on the way. On this
// machine there is no way; with --follow-address nobody knows where it goes.
void refusePlaintext(const ConnectionOptions& connection) {
  const ManagerAddress& manager = connection.manager;
  if (manager.https || (manager.isLoopback() && !connection.followAddress)) return;
  const std::string what = manager.isLoopback()
                               ? "--follow-address may lead a login over plain HTTP anywhere"
                               : "a login over plain HTTP to " + manager.host + " can be read";
  throw wrongUsage("--manager: " + what,
                   "name the manager with https://, or say --allow-plaintext");
}

// Programs know the objects by the brace that begins them, as no line of our own talk does. A line
// of the log may begin with anything.
void refuseMixedLines(const OperationRequest& request) {
  if (request.progress != ProgressMode::jsonl || !request.log.goesToTalk()) return;
  throw wrongUsage("--progress jsonl: lines of the log could be taken for its objects",
                   "--log-file FILE puts the log elsewhere");
}

}  // namespace

CLI::Option* addFileOption(CLI::App& app, const char* name, std::string& target,
                           const char* description) {
  return app.add_option(name, target, description)->type_name("FILE")->check(problemOfFileName);
}

bool isSaid(const CLI::App& app, const char* name) {
  const std::vector<CLI::Option*>& said = app.parse_order();
  return std::find(said.begin(), said.end(), app.get_option(name)) != said.end();
}

// In the form of the words of a check, of which the help shows nothing.
void offerWords(CLI::Option& argument, const std::string& words) {
  argument.type_name(":{" + words + "}");
}

// A check of membership adds them to the type: "FORM:{json,jsonl}".
std::vector<std::string> choicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t open = type.find('{');
  const std::size_t close = type.find('}', open);
  if (open == std::string::npos || close == std::string::npos) return {};
  return CLI::detail::split(type.substr(open + 1, close - open - 1), ',');
}

void addPasswordOptions(CLI::App& app, PasswordSource& source) {
  const char* const group = "Password (never on the command line)";
  CLI::Option* const file =
      addFileOption(app, "--password-file", source.file,
                    "File that holds the password; only its owner may have access");
  file->group(group);
  CLI::Option* const input = app.add_flag("--password-stdin", source.standardInput,
                                          "Read the password from standard input")
                                 ->excludes(file)
                                 ->group(group);
  app.add_option("--password-command", source.command,
                 "Run this by /bin/sh and take what it prints as the password")
      ->type_name("CMD")
      ->check([](const std::string& command) {
        return command.empty() ? std::string("no command is given") : std::string();
      })
      ->excludes(file)
      ->excludes(input)
      ->group(group);
}

std::vector<OutputFormat> formatsOfReplies() {
  return {OutputFormat::tree,  OutputFormat::table,   OutputFormat::wide, OutputFormat::json,
          OutputFormat::jsonl, OutputFormat::yaml,    OutputFormat::csv,  OutputFormat::dot,
          OutputFormat::name,  OutputFormat::protobuf};
}

std::vector<OutputFormat> formsOfDocument(OutputFormat forPeople) {
  return {forPeople, OutputFormat::json, OutputFormat::jsonl, OutputFormat::yaml};
}

void addFormatOption(CLI::App& app, OutputFormat& target, std::vector<OutputFormat> formats) {
  target = formats.front();
  std::map<std::string, OutputFormat> choices;
  std::string description = formatNames().at(formats.front()) + " (the default)";
  for (const OutputFormat format : formats) {
    const std::string& name = formatNames().at(format);
    choices[name] = format;
    if (format == formats.front()) continue;
    description += (format == formats.back() ? " or " : ", ") + name;
  }
  addChoice(app, "-o,--output", target, choices, description)->type_name("FORM");
}

void OperationArguments::declare(CLI::App& app) {
  declareManager(app);
  declareUser(app);
  declareAddressRules(app);
  declareEnvironment(app);
  declarePlaintext(app);
  declareTrust(app);
  declareStrictness(app);
  declareTimeLimit(app);
  addPasswordOptions(app, request_.connection.password);
  declareLog(app);
}

void OperationArguments::declareDoor(CLI::App& app) {
  declareManager(app);
  declareEnvironment(app);
  declareTrust(app);
  declareTimeLimit(app);
}

void OperationArguments::declareManager(CLI::App& app) {
  app.add_option("--manager", manager_,
                 "https://HOST[:PORT] or http://HOST[:PORT], an IPv6 address in brackets; port "
                 "7443 unless told")
      ->required()
      ->type_name("URL")
      ->group(kManagerGroup);
}

void OperationArguments::declareUser(CLI::App& app) {
  app.add_option("--user", request_.connection.user, "Account on the manager")
      ->required()
      ->type_name("NAME")
      ->group(kManagerGroup);
}

void OperationArguments::declareAddressRules(CLI::App& app) {
  ConnectionOptions& connection = request_.connection;
  CLI::Option* const keep =
      app.add_flag("--keep-address", connection.keepAddress,
                   "Stay with the host of --manager where the manager reports another "
                   "address for its site; with neither this nor the next option nothing "
                   "is sent to such an address");
  keep->group(kManagerGroup);
  app.add_flag("--follow-address", connection.followAddress,
               "Go to whatever address the manager reports for its site, and log in there")
      ->excludes(keep)
      ->group(kManagerGroup);
}

void OperationArguments::declareEnvironment(CLI::App& app) {
  app.add_flag("--use-environment", request_.connection.useEnvironment,
               "Obey the environment's proxies and other settings of libcurl and OpenSSL; they "
               "are ignored otherwise")
      ->group(kManagerGroup);
}

void OperationArguments::declarePlaintext(CLI::App& app) {
  app.add_flag("--allow-plaintext", allowPlaintext_,
               "Send the login over plain HTTP to another machine, where whoever listens can use "
               "it; this machine itself needs no such word")
      ->group(kManagerGroup);
}

void OperationArguments::declareTrust(CLI::App& app) {
  addFileOption(app, "--ca-cert", request_.connection.certificateFile,
                "Trust this certificate or CA alone, a PEM file; without it the system's "
                "trust store")
      ->group(kManagerGroup);
}

void OperationArguments::declareStrictness(CLI::App& app) {
  app.add_flag("--strict-tls,!--no-strict-tls", strictTls_,
               "Refuse a manager whose certificate is not trusted; --no-strict-tls goes on "
               "after a refused certificate")
      ->group(kManagerGroup);
}

void OperationArguments::declareTimeLimit(CLI::App& app) {
  app.add_option("--timeout", timeLimit_,
                 "Give up after this time, such as 30s, 2m or 1h30m; a plain number counts "
                 "seconds. No limit unless told")
      ->type_name("TIME")
      ->group(kManagerGroup);
}

void OperationArguments::declareLog(CLI::App& app) {
  const char* const group = "Log";
  app.add_option("--log-level", logLevel_,
                 "What the engine logs: trace, info, note, warning, error or off; off unless "
                 "told, info in a file")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"trace", "info", "note", "warning", "error", "off"}))
      ->group(group);
  addFileOption(app, "--log-file", request_.log.file,
                "Append the log to this file instead of standard error")
      ->group(group);
}

void OperationArguments::declareProgress(CLI::App& app) {
  const std::map<std::string, ProgressMode> modes{{"auto", ProgressMode::automatic},
                                                  {"none", ProgressMode::none},
                                                  {"jsonl", ProgressMode::jsonl}};
  addChoice(app, "--progress", request_.progress, modes,
            "What standard error shows meanwhile: auto (the default; a line on a terminal), none, "
            "or jsonl (JSON objects for programs)")
      ->type_name("HOW");
}

OperationRequest OperationArguments::read(const CLI::App& app) const {
  OperationRequest request = readDoor(app);
  checkUser(request.connection.user);
  if (!allowPlaintext_) refusePlaintext(request.connection);
  demandKeptKey(request.connection);
  return request;
}

OperationRequest OperationArguments::readDoor(const CLI::App& app) const {
  OperationRequest request = request_;
  ConnectionOptions& connection = request.connection;
  connection.manager = readManagerAddress(manager_);
  if (isGiven(app, "--strict-tls")) connection.strictTls = strictTls_;
  if (isGiven(app, "--timeout")) request.timeLimit = readDuration("--timeout", timeLimit_);
  if (!logLevel_.empty()) request.log.level = levelNumber(logLevel_);
  refuseMixedLines(request);
  return request;
}

}  // namespace kestrelvisor::ctl
