// What the manager answers.

#include "kestrelctl/diagnosis/check_functions.h"
#include "kestrelctl/diagnosis/checks.h"
#include "kestrelctl/diagnosis/reach.h"
#include "kestrelctl/duration.h"
#include "kestrelctl/explanations/tables.h"
#include "kestrelctl/terminal_text.h"

#include <cstdint>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kRoleRefused = "1006";

// By TLS 1.3 the greeting is over before a manager tells that it wants a certificate.
Finding failedRequest(const VersionAnswer& versions, bool demandsCertificate) {
  if (versions.timedOut) {
    return failed(ExitCode::timeLimit, "the manager does not answer the first request",
                  kLoadRemedy);
  }
  if (demandsCertificate) return clientCertificateDemanded();
  const bool isRefused = versions.exitCode == ExitCode::refusedCertificate;
  return failed(versions.exitCode, "the first request failed: " + versions.problem,
                isRefused ? kCertificateRemedy : kAddressRemedy);
}

Finding failedVersions(const VersionAnswer& versions) {
  if (versions.status != 200) {
    return failed(ExitCode::managerFailed,
                  "GET /service/versions was answered with the HTTP status " +
                      std::to_string(versions.status),
                  "check that address and port belong to a manager, and look at its log");
  }
  return failed(ExitCode::unreadableAnswer,
                versions.readable ? "the manager offers no version of its interface"
                                  : "the answer tells no versions of a manager's interface",
                "check that address and port belong to a manager");
}

// What the login failed over, in the manager's own words where there are some.
std::string reasonOf(const Failure& failure) {
  const std::string start = nameOf(OperationKind::verify) + " failed: ";
  if (failure.exitCode == ExitCode::timeLimit && failure.managerCode.empty()) {
    return "no answer within the time limit of all checks";
  }
  std::string text = failure.what();
  if (text.compare(0, start.size(), start) == 0) text.erase(0, start.size());
  if (!failure.text.empty()) text += ": " + failure.text;
  if (text.back() == '.') text.pop_back();
  if (!failure.managerCode.empty()) text += " (code " + failure.managerCode + ")";
  return text;
}

bool triesLogin(Examination& examination) {
  return isUnderstood(examination) && !examination.options().user.empty();
}

bool isOverRole(const LoginOutcome& outcome) {
  return outcome.failure && outcome.failure->managerCode == kRoleRefused;
}

bool isLoggedIn(const LoginOutcome& outcome) {
  return !outcome.failure || isOverRole(outcome) || outcome.failure->hadSession;
}

std::string distanceText(std::chrono::seconds distance) {
  constexpr std::chrono::days kLong(2);
  if (distance < kLong) return durationText(distance);
  const auto days = std::chrono::floor<std::chrono::days>(distance).count();
  return counted(static_cast<std::uint64_t>(days), "day");
}

}  // namespace

Finding checkVersions(Examination& examination) {
  if (!isConnected(examination)) return skipped("there is no connection");
  if (!isGreeted(examination)) return skipped("the greeting of TLS did not work");
  if (!isTrusted(examination)) return skipped("nothing is sent to whoever is not trusted");
  const VersionAnswer& versions = examination.versions();
  if (!versions.problem.empty()) {
    return failedRequest(versions, examination.connection().demandsCertificate);
  }
  if (!isUnderstood(examination)) return failedVersions(versions);
  return passed("the manager offers " + listed(versions.versions));
}

Finding checkLogin(Examination& examination) {
  const std::string& user = examination.options().user;
  if (!isUnderstood(examination)) return skipped("the steps before it did not work");
  if (user.empty()) return skipped("no account is named; --user NAME tries one");
  const LoginOutcome& outcome = examination.login();
  if (isLoggedIn(outcome)) return passed("the manager accepts " + user);
  return failed(outcome.failure->exitCode, reasonOf(*outcome.failure), outcome.failure->hint);
}

Finding checkRole(Examination& examination) {
  if (!triesLogin(examination) || !isLoggedIn(examination.login())) return skipped("no login");
  const std::string& user = examination.options().user;
  if (!isOverRole(examination.login())) return passed(user + " has a role that suffices");
  return failed(ExitCode::refusedLogin,
                user + " has no role that may read the manager's data (code 1006)",
                "give the account the role administrator or sysadmin");
}

Finding checkSites(Examination& examination) {
  if (!triesLogin(examination)) return skipped("no login");
  const LoginOutcome& outcome = examination.login();
  if (!isLoggedIn(outcome) || isOverRole(outcome)) return skipped("no login");
  if (!outcome.failure) return passed("the manager tells its own site; its GUID: " + outcome.guid);
  return failed(outcome.failure->exitCode, reasonOf(*outcome.failure), outcome.failure->hint);
}

Finding checkClock(Examination& examination) {
  const bool answers = isTrusted(examination) && examination.versions().problem.empty();
  if (!answers) return skipped("the manager tells no time before its first answer");
  const auto& ahead = examination.versions().clockAhead;
  return ahead ? findingOfClock(*ahead) : skipped("the manager does not tell its time");
}

Finding findingOfClock(std::chrono::seconds ahead) {
  constexpr std::chrono::seconds kMuch(60);
  const std::chrono::seconds distance = ahead < ahead.zero() ? -ahead : ahead;
  if (distance <= kMuch) return passed("the two clocks agree to the minute");
  return warned("the manager's clock is " + distanceText(distance) +
                    (ahead > ahead.zero() ? " ahead of" : " behind") + " this machine's",
                "let both follow a time server: the validity of certificates is judged by this "
                "machine's clock");
}

}  // namespace kestrelvisor::ctl
