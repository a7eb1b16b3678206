#include "kestrelctl/foreign_settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace kestrelvisor::ctl {
namespace {

constexpr std::array<const char*, 8> kProxies{"http_proxy",  "HTTP_PROXY", "https_proxy",
                                              "HTTPS_PROXY", "all_proxy",  "ALL_PROXY",
                                              "no_proxy",    "NO_PROXY"};
constexpr std::array<const char*, 7> kTls{
    "SSLKEYLOGFILE",        "SSL_CERT_FILE",   "SSL_CERT_DIR",   "OPENSSL_CONF",
    "OPENSSL_CONF_INCLUDE", "OPENSSL_MODULES", "OPENSSL_ENGINES"};

}  // namespace

void forgetForeignSettings() {
  for (const char* const variable : kProxies) unsetenv(variable);
  for (const char* const variable : kTls) unsetenv(variable);
}

bool isForeignSetting(std::string_view name) {
  return std::find(kProxies.begin(), kProxies.end(), name) != kProxies.end() ||
         std::find(kTls.begin(), kTls.end(), name) != kTls.end();
}

}  // namespace kestrelvisor::ctl
