// What lies on this machine.

#include "kestrelctl/diagnosis/check_functions.h"
#include "kestrelctl/diagnosis/checks.h"
#include "kestrelctl/diagnosis/reach.h"
#include "kestrelctl/terminal_text.h"

#include <vector>

namespace kestrelvisor::ctl {

Finding checkProxies(Examination& examination) {
  const std::vector<std::string>& variables = examination.proxies();
  if (variables.empty()) return passed("no variable names one");
  const std::string set = listed(variables) + (variables.size() == 1 ? " is set" : " are set");
  const std::string& used = examination.proxy();
  if (used.empty()) return passed(set + ", but not for this manager");
  const bool works = isConnected(examination) &&
                     (!isHttps(examination) || !examination.connection().protocol.empty());
  if (!examination.options().useEnvironment) {
    if (works) return passed(set + " and not obeyed");
    return warned(set + " and not obeyed",
                  "--use-environment goes that way, if the manager is behind a proxy");
  }
  if (works) return passed(used + " is set and obeyed");
  return failed(ExitCode::unreachable,
                used + " is set and obeyed, and there is no way to the manager", kProxyRemedy);
}

Finding checkPorts(Examination& examination) {
  const auto& ports = examination.localPorts();
  return ports ? findingOfPorts(*ports) : skipped("this system does not tell");
}

Finding findingOfPorts(const LocalPorts& ports) {
  constexpr std::size_t kNeeded = 100;
  constexpr std::size_t kTenth = 10;
  constexpr const char* kRemedy =
      "wait a minute for closed connections to be forgotten, or widen "
      "net.ipv4.ip_local_port_range: each request takes a connection of its own";
  const std::string text = grouped(ports.free()) + " of " + grouped(ports.all) + " are free";
  if (ports.free() < kNeeded) return failed(ExitCode::unreachable, text, kRemedy);
  return ports.free() < ports.all / kTenth ? warned(text, kRemedy) : passed(text);
}

}  // namespace kestrelvisor::ctl
