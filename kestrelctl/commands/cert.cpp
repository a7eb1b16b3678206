#include "kestrelctl/certificate_file.h"
#include "kestrelctl/certificates/certificate_views.h"
#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/certificates/kept_key.h"
#include "kestrelctl/certificates/pin_file.h"
#include "kestrelctl/command_options.h"
#include "kestrelctl/commands/commands.h"
#include "kestrelctl/console.h"
#include "kestrelctl/explanations/advice.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/file_replacement.h"
#include "kestrelctl/libraries.h"
#include "platform/reference/clock.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kestrelctl cert --manager https://vrm.example.com\n"
    "      show the manager's certificates and the pin of its public key\n"
    "  kestrelctl cert pin --manager https://vrm.example.com\n"
    "      keep the pin: whoever answers with another key is refused from now on\n"
    "  kestrelctl cert --manager https://vrm.example.com --save vrm.pem\n"
    "      keep the certificates; --ca-cert vrm.pem trusts them. Compare the pin with\n"
    "      the one that the manager's administrator knows\n"
    "  kestrelctl cert -o json --manager https://vrm.example.com | jq -r .pin\n";

constexpr std::chrono::milliseconds kPatience(10'000);  // unless told

enum class Action { show, pin, forget };

const std::map<std::string, Action>& actions() {
  static const std::map<std::string, Action> words{
      {"show", Action::show}, {"pin", Action::pin}, {"forget", Action::forget}};
  return words;
}

// Why there is no certificate that has proven to be the manager's.
Failure failureOf(const ManagerAddress& manager, const Inspection& inspection) {
  const ExitCode code = inspection.timedOut ? ExitCode::timeLimit : ExitCode::unreachable;
  Failure failure(code, inspection.chain.empty()
                            ? "the manager shows no certificate"
                            : "the greeting of TLS failed after the manager's certificate");
  failure.facts.push_back({"manager", manager.url()});
  failure.facts.push_back({"reason", inspection.problem});
  failure.text = inspection.problem;
  failure.hint = explanationOfExit(code).remedy;
  failure.hint += "; kestrelctl doctor looks at each step";
  return failure;
}

class CertCommand : public Command {
 public:
  CertCommand()
      : Command({"cert", "Show a manager's certificates, and keep to its public key", kExamples}) {}

  void declareOptions(CLI::App& app) override;
  void finishOptions(const CLI::App& app) override;
  ExitCode run() override;

 private:
  void refuseIdleOptions(const CLI::App& app) const;
  ShownCertificate look() const;
  std::optional<Failure> doubtOf(const ShownCertificate& shown) const;
  void print(const ShownCertificate& shown) const;
  void save(const ShownCertificate& shown) const;
  void keep(ShownCertificate& shown) const;
  ExitCode forget() const;

  OperationArguments arguments_;
  OperationRequest request_;
  OutputFormat format_ = OutputFormat::text;
  Action action_ = Action::show;
  std::string saveFile_;  // empty: the certificates are not kept
  bool replace_ = false;
};

void CertCommand::declareOptions(CLI::App& app) {
  const auto take = [this](const std::string& word) { action_ = actions().at(word); };
  app.add_option_function<std::string>("ACTION", take,
                                       "show (the default), pin (keep the pin of the manager's "
                                       "public key) or forget (the kept pin)")
      ->check(CLI::IsMember(actions()))
      ->type_name("");
  addFormatOption(app, format_, formsOfDocument(OutputFormat::text));
  addFileOption(app, "--save", saveFile_, "Keep the certificates in this file, as PEM");
  app.add_flag("--replace", replace_, "Let pin take the place of another pin that is kept");
  arguments_.declareDoor(app);
  app.get_option("--timeout")
      ->description(
          "Give up after this time, such as 30s or 2m; a plain number counts seconds. 10 seconds "
          "unless told");
}

void CertCommand::finishOptions(const CLI::App& app) {
  refuseIdleOptions(app);
  request_ = arguments_.readDoor(app);
  if (!request_.connection.manager.https) {
    throw wrongUsage("cert: a manager over plain HTTP has no certificate",
                     "name the manager with https://");
  }
  // What stands in the way of another pin, or is to go, need not be one.
  if (action_ == Action::forget || replace_) return;
  request_.connection.publicKeyPin = keptPin(request_.connection.manager);
}

void CertCommand::refuseIdleOptions(const CLI::App& app) const {
  if (replace_ && action_ != Action::pin) throw wrongUsage("cert: only pin takes --replace");
  if (!saveFile_.empty() && action_ == Action::forget) {
    throw wrongUsage("cert: forget has no certificates for --save", "leave out --save");
  }
  if (action_ == Action::forget && isSaid(app, "--output")) {
    throw wrongUsage("cert: forget has no result for -o to show", "leave out -o");
  }
}

ShownCertificate CertCommand::look() const {
  const ConnectionOptions& connection = request_.connection;
  prepareLibraries(connection.useEnvironment);
  InspectionRequest inspection{connection.manager, {}, {}, request_.timeLimit.value_or(kPatience)};
  if (!connection.certificateFile.empty()) {
    inspection.trusted = readCertificateFile(connection.certificateFile);
  }
  const auto now = std::chrono::floor<std::chrono::seconds>(currentTime());
  ShownCertificate shown{connection.manager, inspect(inspection), connection.publicKeyPin, now, {}};
  if (shown.inspection.chain.empty()) throw failureOf(connection.manager, shown.inspection);
  return shown;
}

// Why nothing is to be kept of what is shown.
std::optional<Failure> CertCommand::doubtOf(const ShownCertificate& shown) const {
  if (!shown.inspection.handshaken) return failureOf(shown.manager, shown.inspection);
  const std::string& pin = shown.inspection.chain.front().pin;
  if (shown.keptPin.empty() || shown.keptPin == pin) return std::nullopt;
  return otherPublicKey(shown.manager, shown.keptPin, pin);
}

void CertCommand::save(const ShownCertificate& shown) const {
  std::string chain;
  for (const Certificate& certificate : shown.inspection.chain) chain += certificate.pem;
  replaceFile(saveFile_, chain);
  say("The certificates are kept in " + saveFile_ + ".");
}

void CertCommand::print(const ShownCertificate& shown) const {
  printResult(format_ == OutputFormat::text ? certificateText(shown, renderingOfResults())
                                            : certificateDocument(shown, format_));
}

void CertCommand::keep(ShownCertificate& shown) const {
  const std::string& pin = shown.inspection.chain.front().pin;
  if (pin != shown.keptPin) keepPin(shown.manager, pin);
  say("The pin is kept in " + pinFile() + ".");
  say("Other keys of " + shown.manager.url() + " are refused.");
  if (pin != shown.keptPin && !shown.inspection.isTrusted()) {
    shown.warnings.push_back({"unverified-pin",
                              "nobody who is trusted vouches that this certificate is the "
                              "manager's: compare the pin with the manager's"});
  }
  shown.keptPin = pin;
  warnOf(shown.warnings);
}

ExitCode CertCommand::forget() const {
  const std::string manager = request_.connection.manager.url();
  if (!forgetPin(request_.connection.manager)) throw wrongUsage("no pin is kept for " + manager);
  say("No pin is kept for " + manager + " any more.");
  return ExitCode::success;
}

ExitCode CertCommand::run() {
  if (action_ == Action::forget) return forget();
  if (!saveFile_.empty()) checkReplaceable("--save", saveFile_);
  ShownCertificate shown = look();
  if (const std::optional<Failure> doubt = doubtOf(shown)) {
    if (format_ == OutputFormat::text) print(shown);  // programs get one document: the error
    if (!saveFile_.empty()) say("The certificates are not kept in " + saveFile_ + ".");
    throw *doubt;
  }
  if (action_ == Action::pin) keep(shown);
  if (!saveFile_.empty()) save(shown);
  print(shown);
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeCertCommand() { return std::make_unique<CertCommand>(); }

}  // namespace kestrelvisor::ctl
