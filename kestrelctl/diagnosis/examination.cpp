#include "kestrelctl/diagnosis/examination.h"

#include "kestrelctl/certificate_file.h"
#include "platform/contract/config_reader.h"
#include "platform/reference/tls.h"

#include <algorithm>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kWholeTime(60'000);   // unless the user tells
constexpr milliseconds kTimeOfStep(10'000);  // what the engine gives a connection

bool strictnessOf(const ConnectionOptions& options) {
  if (options.strictTls) return *options.strictTls;
  return ConfigReader::getInt("General", "CertAuthSwitch", true) != 0;
}

template <class Part, class Look>
const Part& once(std::optional<Part>& part, const Look& look) {
  if (!part) part.emplace(look());
  return *part;
}

}  // namespace

Examination::Examination(Request request)
    : request_(std::move(request)),
      strict_(strictnessOf(options())),
      end_(Clock::now() + request_.operation.timeLimit.value_or(kWholeTime)) {
  const ConnectionOptions& connection = options();
  if (!connection.certificateFile.empty()) {
    trusted_ = readCertificateFile(connection.certificateFile);
  }
  if (!keepToPublicKey(connection.publicKeyPin)) {
    throw wrongUsage("the public key that is kept for the manager has no form that can be used",
                     "kestrelctl cert pin --replace keeps the key anew");
  }
}

milliseconds Examination::left() const {
  const auto left = std::chrono::duration_cast<milliseconds>(end_ - Clock::now());
  if (left <= left.zero()) throw TimeUsedUp{};
  return left;
}

milliseconds Examination::patience() const { return std::min(left(), kTimeOfStep); }

const NameLookup& Examination::name() {
  return once(name_, [&] { return lookUp(options().manager.host, patience()); });
}

const Inspection& Examination::connection() {
  return once(connection_, [&] {
    return inspect({options().manager, trusted_, name().addresses, patience()});
  });
}

const VersionAnswer& Examination::versions() {
  return once(versions_, [&] { return ask({options().manager, trusted_, strict_, patience()}); });
}

LoginOutcome Examination::logIn() {
  OperationRequest request = request_.operation;
  request.kind = OperationKind::verify;
  request.timeLimit = left();
  try {
    const OperationResult result = perform(request);
    warnings_ = result.warnings;
    return {std::nullopt, result.guid};
  } catch (const Failure& failure) {
    warnings_ = failure.warnings;
    return {failure, {}};
  }
}

const LoginOutcome& Examination::login() {
  return once(login_, [&] { return logIn(); });
}

const std::optional<LocalPorts>& Examination::localPorts() {
  return once(localPorts_, [&] { return readLocalPorts(options().manager.port); });
}

}  // namespace kestrelvisor::ctl
