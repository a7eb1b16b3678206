// Uses everything that a logout at process exit needs, from the destructor of a static object that
// was there before anything of it was used. argv[1]: the log file.

#include "platform/contract/config_reader.h"
#include "platform/contract/helpers.h"
#include "platform/contract/log.h"
#include "platform/contract/request_id.h"
#include "platform/contract/security.h"
#include "platform/reference/configuration.h"
#include "platform/reference/logging.h"
#include "platform/reference/url.h"

#include <curl/curl.h>

#include <string>

namespace {

void log(const std::string& text) {
  LogProxy(1, "probe", *KCPTSP::get(TSP_RequestID), "~AtExit()", __LINE__) << 0 << text << "";
}

struct AtExit {
  ~AtExit() {
    log("last words");
    log(WipeSensitiveData("X-Auth-Token: 0123456789"));
    log(FormatFullUrl("https://10.0.0.1:7443/service/session"));
    log(std::to_string(ConfigReader::getInt("General", "CertAuthSwitch", true)));
    std::string certificate = "no certificate";
    CURL* const curl = curl_easy_init();
    SecuritySS::enrichSSL(curl, certificate);
    curl_easy_cleanup(curl);
    log("TLS is set");
  }
};

const AtExit atExit;

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  kestrelvisor::LogOptions options;
  options.threshold = 0;
  options.file = argv[1];
  std::string problem;
  if (!kestrelvisor::configureLogging(options, problem)) return 1;
  kestrelvisor::setConfigurationValue("General", "CertAuthSwitch", "5");
  const std::string host = "manager.example.with.a.name.beyond.the.small.buffer";
  kestrelvisor::keepToHost(host);
  kestrelvisor::allowOnlyServers({host + ":7443"});
  *KCPTSP::get(TSP_RequestID) = 42;
  log("first words");
}
