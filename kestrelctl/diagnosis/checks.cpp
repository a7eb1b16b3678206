#include "kestrelctl/diagnosis/checks.h"

#include "kestrelctl/diagnosis/check_functions.h"

namespace kestrelvisor::ctl {

const std::vector<Check>& checks() {
  static const std::vector<Check> all{{"name", "name", checkName},
                                      {"connection", "TCP", checkConnection},
                                      {"tls-version", "TLS version", checkTlsVersion},
                                      {"chain", "chain", checkChain},
                                      {"host-name", "host name", checkHostName},
                                      {"days-left", "days left", checkDaysLeft},
                                      {"versions", "versions", checkVersions},
                                      {"login", "login", checkLogin},
                                      {"role", "role", checkRole},
                                      {"sites", "site list", checkSites},
                                      {"clock", "clock", checkClock},
                                      {"proxies", "proxies", checkProxies},
                                      {"ports", "local ports", checkPorts}};
  return all;
}

Finding findingOf(const Check& check, Examination& examination, bool hasFailed) {
  constexpr const char* kPassed = "the time limit of all checks had passed";
  try {
    return check.look(examination);
  } catch (const TimeUsedUp&) {
    if (hasFailed) return skipped(kPassed);
    return failed(ExitCode::timeLimit, kPassed, "give them more time with --timeout");
  }
}

}  // namespace kestrelvisor::ctl
