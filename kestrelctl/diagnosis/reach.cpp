#include "kestrelctl/diagnosis/reach.h"

#include "kestrelctl/terminal_text.h"

#include <algorithm>

namespace kestrelvisor::ctl {

bool obeysProxies(const Examination& examination) {
  return examination.options().useEnvironment && !examination.proxy().empty();
}

bool hasAddress(Examination& examination) {
  return examination.name().problem.empty() || obeysProxies(examination);
}

bool isConnected(Examination& examination) {
  return hasAddress(examination) && examination.connection().connected;
}

bool isHttps(const Examination& examination) { return examination.options().manager.https; }

bool isGreeted(Examination& examination) {
  if (!isConnected(examination)) return false;
  const Inspection& connection = examination.connection();
  return !isHttps(examination) || (connection.handshaken && isModern(connection.protocol));
}

bool hasChain(Examination& examination) {
  return isConnected(examination) && isHttps(examination) && examination.connection().handshaken &&
         !examination.connection().chain.empty();
}

bool isModern(const std::string& protocol) {
  return protocol == "TLSv1.2" || protocol == "TLSv1.3";
}

bool hasOtherKey(Examination& examination) {
  const std::string& kept = examination.options().publicKeyPin;
  return !kept.empty() && kept != examination.connection().chain.front().pin;
}

bool isTrusted(Examination& examination) {
  if (!isGreeted(examination)) return false;
  if (!isHttps(examination)) return true;
  if (!hasChain(examination) || hasOtherKey(examination)) return false;
  return !examination.isStrict() || examination.connection().isTrusted();
}

bool isUnderstood(Examination& examination) {
  if (!isTrusted(examination)) return false;
  const VersionAnswer& versions = examination.versions();
  return versions.readable && versions.isUsable();
}

std::string listed(const std::vector<std::string>& words) {
  constexpr std::size_t kMost = 5;
  if (words.empty()) return "none";
  std::string text = words.front();
  const std::size_t shown = std::min(words.size(), kMost);
  for (std::size_t i = 1; i < shown; ++i) {
    text += (i + 1 == words.size() ? " and " : ", ") + words[i];
  }
  if (words.size() > kMost) text += " and " + grouped(words.size() - kMost) + " more";
  return text;
}

}  // namespace kestrelvisor::ctl
