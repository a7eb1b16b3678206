#include "kestrelctl/engine_session.h"

#include "base/wipe_string.h"
#include "engine/kestrelvisor_engine.h"
#include "kestrelctl/certificate_file.h"
#include "kestrelctl/environment_variable.h"
#include "kestrelctl/standard_output_exchange.h"
#include "kestrelctl/watch/paced_progress.h"
#include "kestrelctl/watch/scan_warnings.h"
#include "kestrelctl/watch/scan_watch.h"
#include "platform/reference/configuration.h"
#include "platform/reference/password_cipher.h"
#include "platform/reference/tls.h"
#include "platform/reference/url.h"

#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::ctl {
namespace {

constexpr std::int32_t kPlainHttp = 1;
constexpr std::int32_t kHttps = 2;

// The engine wants the password encrypted; nobody outside this process needs to read it again.
void prepareKey() {
  std::string problem;
  const bool configured =
      isSet("KESTRELVISOR_PASSWORD_KEY") || isSet("KESTRELVISOR_PASSWORD_KEY_FILE");
  if (configured) {
    if (hasPasswordKey(problem)) return;
    throw wrongUsage(problem,
                     "KESTRELVISOR_PASSWORD_KEY and KESTRELVISOR_PASSWORD_KEY_FILE name the key "
                     "that passwords are encrypted with; without them a fresh one does");
  }
  std::string key;
  const WipeOnExit wipe(key);
  if (!generateKey(key, problem) || !setPasswordKey(key, problem)) {
    throw Failure(ExitCode::unreadableAnswer, "no key for the password: " + problem);
  }
}

std::string encrypted(const std::string& password) {
  std::string cipher;
  std::string problem;
  if (!encryptPassword(password, cipher, problem)) {
    throw wrongUsage("the password cannot be encrypted: " + problem);
  }
  return cipher;
}

void prepareTransport(const ConnectionOptions& options) {
  if (options.strictTls) {
    setConfigurationValue("General", "CertAuthSwitch", *options.strictTls ? "1" : "0");
  }
  if (options.keepAddress && !keepToHost(options.manager.host)) {
    throw wrongUsage("--keep-address: " + options.manager.host + " cannot be kept");
  }
  if (!keepToPublicKey(options.publicKeyPin)) {
    throw wrongUsage("the public key that is kept for the manager has no form that can be used",
                     "kestrelctl cert pin --replace keeps the key anew");
  }
  const bool anyServer = options.followAddress;
  if (!allowOnlyServers(anyServer ? std::vector<std::string>() : serversOf(options.manager))) {
    throw wrongUsage("--manager: " + options.manager.host + " cannot be the address of a server");
  }
}

}  // namespace

EngineSession::EngineSession(const ConnectionOptions& options, WarningSink warn)
    : attempt_{{}, options.manager.url(), options.user}, warn_(std::move(warn)) {
  const std::string& certificate = options.certificateFile;
  path_.add_hv_address(options.manager.host);
  path_.add_port(options.manager.port);
  path_.add_protocol(options.manager.https ? kHttps : kPlainHttp);
  path_.add_username(options.user);
  path_.add_cert(certificate.empty() ? std::string() : readCertificateFile(certificate));
  prepareKey();
  prepareTransport(options);
  kestrelvisor_engine_init();
}

EngineSession::~EngineSession() { forgetPasswordKey(); }

void EngineSession::usePassword(const std::string& password) {
  path_.add_password(encrypted(password));
}

void EngineSession::tellPassedCertificate(const LogEvidence& evidence) {
  const auto& reason = evidence.passedCertificate();
  if (!reason || std::exchange(hasPassedCertificate_, true)) return;
  warn_(
      {"unverified-tls", "the manager's certificate is not trusted and was let pass: " + *reason});
}

void EngineSession::run(const std::string& what, const Operation& operation) {
  LogEvidence evidence;
  const auto look = [&](const LogRecord& record) {
    evidence.take(record);
    tellPassedCertificate(evidence);
  };
  const LogObserver observer(look, nullptr, LogEvidence::kLowestLevel);
  Attempt attempt = attempt_;
  attempt.what = what;
  std::string description;
  EnvProxyResult result;
  try {
    result = operation(description);
  } catch (const Failure& end) {  // none of the engine's: an observer of its log has thrown it
    throw failureOfEnd(attempt, end);
  } catch (const std::exception& error) {
    throw failureOfException(attempt, error.what());
  } catch (...) {
    throw failureOfException(attempt, "of an unknown kind");
  }
  if (result.status != 0) throw failureOf(attempt, result, description, evidence);
}

std::string EngineSession::verify() {
  std::string guid;
  run(nameOf(OperationKind::verify), [&](std::string& description) {
    return KestrelVisorEngine::getKestrelVisorInstance().VerifyCredentials(path_, description,
                                                                           guid);
  });
  return guid;
}

Accounting EngineSession::scan(ScanEnvironmentReply& reply, std::streambuf& testerDump,
                               const ProgressSink& progress) {
  ScanWatch watch;
  PacedProgress paced(watch, progress);
  bool lacksOwnSite = false;
  const auto follow = [&](const LogRecord& record) {
    watch.take(record);
    paced.offer();
    if (!watch.lacksOwnSite() || std::exchange(lacksOwnSite, true)) return;
    warn_(warningOfNoOwnSite());
  };
  const LogObserver observer(follow, nullptr, ScanWatch::kLowestLevel);
  run(nameOf(OperationKind::scan), [&](std::string& description) {
    const StandardOutputExchange exchange(testerDump);
    return KestrelVisorEngine::getKestrelVisorInstance().scanEnvironment(reply, path_, description);
  });
  paced.finish();
  for (const Warning& warning : watch.warnings(reply)) warn_(warning);
  return watch.accounting(reply);
}

void EngineSession::disableCbt(const std::string& machineUri) {
  run(nameOf(OperationKind::disableCbt, machineUri), [&](std::string& description) {
    return KestrelVisorEngine::getKestrelVisorInstance().DisableCBT(path_, machineUri, description);
  });
}

}  // namespace kestrelvisor::ctl
