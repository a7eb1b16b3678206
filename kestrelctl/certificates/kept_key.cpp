#include "kestrelctl/certificates/kept_key.h"

#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/libraries.h"

#include <chrono>

namespace kestrelvisor::ctl {
namespace {

constexpr std::chrono::seconds kPatience(5);

constexpr const char* kRemedy =
    "if the manager has got a new certificate, compare the pin there, then keep it by kestrelctl "
    "cert pin --replace; if it has not, somebody answers in its place";

void addPins(const std::string& kept, const std::string& shown, Failure& failure) {
  failure.facts.push_back({"kept pin", kept});
  failure.facts.push_back({"its pin", shown});
  failure.hint = kRemedy;
}

// Empty where the manager shows none.
std::string shownPin(const ConnectionOptions& connection) {
  prepareLibraries(connection.useEnvironment);
  const Inspection inspection = inspect({connection.manager, {}, {}, kPatience});
  return inspection.chain.empty() ? std::string() : inspection.chain.front().pin;
}

}  // namespace

void tellPins(const ConnectionOptions& connection, Failure& failure) {
  const std::string& kept = connection.publicKeyPin;
  if (failure.exitCode != ExitCode::refusedCertificate || kept.empty()) return;
  const std::string shown = shownPin(connection);
  if (!shown.empty() && shown != kept) addPins(kept, shown, failure);
}

Failure otherPublicKey(const ManagerAddress& manager, const std::string& kept,
                       const std::string& shown) {
  Failure failure(ExitCode::refusedCertificate,
                  "the certificate of " + manager.url() + " has another public key than before");
  addPins(kept, shown, failure);
  return failure;
}

}  // namespace kestrelvisor::ctl
