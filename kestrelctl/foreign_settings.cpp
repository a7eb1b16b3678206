#include "kestrelctl/foreign_settings.h"

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

}  // namespace kestrelvisor::ctl
