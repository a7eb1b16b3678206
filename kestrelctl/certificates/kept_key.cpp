#include "kestrelctl/certificates/kept_key.h"

#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/certificates/pin_file.h"
#include "kestrelctl/libraries.h"

#include <algorithm>
#include <chrono>

namespace kestrelvisor::ctl {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPatience(5'000);

constexpr const char* kRemedy =
    "if the manager has got a new certificate, compare the pin there, then keep it by kestrelctl "
    "cert pin --replace; if it has not, somebody answers in its place";

void addPins(const std::string& kept, const std::string& shown, Failure& failure) {
  failure.facts.push_back({"kept pin", kept});
  failure.facts.push_back({"its pin", shown});
  failure.hint = kRemedy;
}

// Empty where the manager shows none, or none that it has the key of.
std::string shownPin(const ConnectionOptions& connection, milliseconds patience) {
  prepareLibraries(connection.useEnvironment);
  const Inspection inspection = inspect({connection.manager, {}, {}, patience});
  const bool isProven = inspection.handshaken && !inspection.chain.empty();
  return isProven ? inspection.chain.front().pin : std::string();
}

milliseconds patienceUntil(const Deadline& deadline) {
  const int left = millisecondsUntil(deadline);
  return left < 0 ? kPatience : std::min(kPatience, milliseconds(left));
}

}  // namespace

void demandKeptKey(ConnectionOptions& connection) {
  if (!connection.manager.https) return;
  if (connection.followAddress && !keptPins().empty()) {
    throw wrongUsage(
        "--follow-address: pins are kept, and whoever the manager names is not held to one",
        "name that manager itself with --manager, or stay with this one by --keep-address; the "
        "pins are in " +
            pinFile());
  }
  connection.publicKeyPin = keptPin(connection.manager);
}

void tellPins(const ConnectionOptions& connection, const Deadline& deadline, Failure& failure) {
  const std::string& kept = connection.publicKeyPin;
  if (failure.exitCode != ExitCode::refusedCertificate || kept.empty()) return;
  const milliseconds patience = patienceUntil(deadline);
  if (patience <= patience.zero()) return;
  const std::string shown = shownPin(connection, patience);
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
