// Name, connection and greeting.

#include "kestrelctl/diagnosis/check_functions.h"
#include "kestrelctl/diagnosis/reach.h"
#include "kestrelctl/explanations/tables.h"

namespace kestrelvisor::ctl {
namespace {

std::string placeOf(const Examination& examination) {
  const ManagerAddress& manager = examination.options().manager;
  return manager.host + ":" + std::to_string(manager.port);
}

std::string describedConnection(Examination& examination) {
  const Inspection& connection = examination.connection();
  const std::string taken = " took the connection";
  if (connection.address.empty()) return placeOf(examination) + taken;
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(connection.connectTime);
  return connection.address + taken + " within " + std::to_string(took.count() + 1) + " ms";
}

Finding failedHandshake(const Inspection& connection) {
  if (connection.demandsCertificate) return clientCertificateDemanded();
  if (connection.timedOut) {
    return failed(ExitCode::timeLimit, "the manager does not answer the greeting of TLS",
                  kLoadRemedy);
  }
  const bool isNoTls = connection.problem.find("wrong version number") != std::string::npos;
  if (isNoTls) {
    return failed(ExitCode::unreachable, "what answers does not speak TLS",
                  "check the port: it may be one of plain HTTP, or of something else");
  }
  return failed(ExitCode::unreachable, "the greeting of TLS failed: " + connection.problem,
                "check that the port speaks HTTPS, with TLS 1.2 or newer");
}

Finding noWayOverProxy(const std::string& variable, const Inspection& connection) {
  return failed(connection.timedOut ? ExitCode::timeLimit : ExitCode::unreachable,
                "no way over the proxy that " + variable +
                    " names: " + (connection.timedOut ? "no answer" : connection.problem),
                kProxyRemedy);
}

}  // namespace

Finding clientCertificateDemanded() {
  return failed(ExitCode::unreachable, "the manager wants a certificate of this machine",
                "let the manager serve its interface without certificates of clients");
}

Finding checkName(Examination& examination) {
  const NameLookup& name = examination.name();
  const std::string& host = examination.options().manager.host;
  if (name.isAddress) return passed(host + " is an address");
  if (name.problem.empty()) return passed(host + " is " + listed(name.addresses));
  const std::string text = "no address is known for " + host + ": " + name.problem;
  if (obeysProxies(examination)) return warned(text, "nothing, if the proxy knows the name");
  return failed(name.timedOut ? ExitCode::timeLimit : ExitCode::unreachable, text,
                "check the name in --manager, and how this machine looks names up "
                "(/etc/hosts, /etc/resolv.conf)");
}

Finding checkConnection(Examination& examination) {
  if (!hasAddress(examination)) return skipped("there is no address to connect to");
  const Inspection& connection = examination.connection();
  if (connection.connected) return passed(describedConnection(examination));
  if (obeysProxies(examination)) return noWayOverProxy(examination.proxy(), connection);
  if (connection.timedOut) {
    return failed(ExitCode::timeLimit, placeOf(examination) + " does not answer",
                  "check address and port, and whether a firewall between drops the packets");
  }
  return failed(ExitCode::unreachable,
                placeOf(examination) + " takes no connection: " + connection.problem,
                "check that the manager is up and that the port is right; a firewall may refuse "
                "it, too");
}

Finding checkTlsVersion(Examination& examination) {
  if (!isConnected(examination)) return skipped("there is no connection");
  if (!isHttps(examination)) {
    return warned("plain HTTP: whoever listens on the way can use the login",
                  "name the manager with https://, if it speaks that");
  }
  const Inspection& connection = examination.connection();
  if (!connection.handshaken) return failedHandshake(connection);
  if (isModern(connection.protocol)) {
    return passed(connection.protocol + ", " + connection.cipher);
  }
  return failed(ExitCode::unreachable, "the manager speaks " + connection.protocol + " alone",
                "let the manager speak TLS 1.2 or newer; older versions are refused");
}

}  // namespace kestrelvisor::ctl
