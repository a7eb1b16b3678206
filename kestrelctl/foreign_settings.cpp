#include "kestrelctl/foreign_settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace kestrelvisor::ctl {
namespace {

constexpr std::array<const char*, 5> kProxies{"http_proxy", "https_proxy", "HTTPS_PROXY",
                                              "all_proxy", "ALL_PROXY"};
// Those about hosts that are reached without one, and one that libcurl never obeys.
constexpr std::array<const char*, 3> kBesideProxies{"no_proxy", "NO_PROXY", "HTTP_PROXY"};
constexpr std::array<const char*, 7> kTls{
    "SSLKEYLOGFILE",        "SSL_CERT_FILE",   "SSL_CERT_DIR",   "OPENSSL_CONF",
    "OPENSSL_CONF_INCLUDE", "OPENSSL_MODULES", "OPENSSL_ENGINES"};

}  // namespace

void forgetForeignSettings() {
  for (const char* const variable : kProxies) unsetenv(variable);
  for (const char* const variable : kBesideProxies) unsetenv(variable);
  for (const char* const variable : kTls) unsetenv(variable);
}

std::vector<std::string> proxiesThatAreSet() {
  std::vector<std::string> names;
  for (const char* const variable : kProxies) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') names.emplace_back(variable);
  }
  return names;
}

bool isForeignSetting(std::string_view name) {
  const auto isIn = [name](const auto& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  return isIn(kProxies) || isIn(kBesideProxies) || isIn(kTls);
}

}  // namespace kestrelvisor::ctl
