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

// Why there is no certificate to show.
Failure failureOf(const ManagerAddress& manager, const Inspection& inspection) {
  const ExitCode code = inspection.timedOut ? ExitCode::timeLimit : ExitCode::unreachable;
  Failure failure(code, "the manager shows no certificate");
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
  ShownCertificate look() const;
  void show(const ShownCertificate& shown) const;
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
  request_ = arguments_.readDoor(app);
  if (!request_.connection.manager.https) {
    throw wrongUsage("cert: a manager over plain HTTP has no certificate",
                     "name the manager with https://");
  }
  // What stands in the way of another pin, or is to go, need not be one.
  if (action_ == Action::forget || replace_) return;
  request_.connection.publicKeyPin = keptPin(request_.connection.manager);
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

void CertCommand::show(const ShownCertificate& shown) const {
  if (!saveFile_.empty()) {
    std::string chain;
    for (const Certificate& certificate : shown.inspection.chain) chain += certificate.pem;
    replaceFile(saveFile_, chain);
    say("The certificates are kept in " + saveFile_ + ".");
  }
  printResult(format_ == OutputFormat::text ? certificateText(shown, renderingOfResults())
                                            : certificateDocument(shown, format_));
}

void CertCommand::keep(ShownCertificate& shown) const {
  const std::string& pin = shown.inspection.chain.front().pin;
  if (pin != shown.keptPin) keepPin(shown.manager, pin);
  say("The pin is kept in " + pinFile() + ".");
  say("Other keys of " + shown.manager.url() + " are refused.");
  if (shown.keptPin.empty() && !shown.inspection.problems.empty()) {
    shown.warnings.push_back({"unverified-pin",
                              "nobody who is trusted vouches for this certificate: compare the "
                              "pin with the manager's"});
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
  const std::string pin = shown.inspection.chain.front().pin;
  const bool isOther = !shown.keptPin.empty() && shown.keptPin != pin;
  if (isOther && !(action_ == Action::pin && replace_)) {
    if (format_ == OutputFormat::text) show(shown);  // programs get one document: the error
    throw otherPublicKey(shown.manager, shown.keptPin, pin);
  }
  if (action_ == Action::pin) keep(shown);
  show(shown);
  return ExitCode::success;
}

}  // namespace

std::unique_ptr<Command> makeCertCommand() { return std::make_unique<CertCommand>(); }

}  // namespace kestrelvisor::ctl
