#include "base/log.h"
#include "platform/contract/security.h"
#include "platform/reference/platform_tag.h"

#include <curl/curl.h>

#include <string>

namespace kestrelvisor {
namespace {

// Remembers the first refused option of a handle.
class TlsOptions {
 public:
  explicit TlsOptions(CURL* curl) : curl_(curl) {}

  template <class Value>
  void set(CURLoption option, Value value) {
    const CURLcode result = curl_easy_setopt(curl_, option, value);
    if (result_ == CURLE_OK) result_ = result;
  }

  // libcurl copies the text.
  void trustOnly(std::string& certificates) {
    curl_blob blob{certificates.data(), certificates.size(), CURL_BLOB_COPY};
    set(CURLOPT_CAINFO_BLOB, &blob);
  }

  CURLcode result() const { return result_; }

 private:
  CURL* curl_;
  CURLcode result_ = CURLE_OK;
};

// A trust store that cannot be read ends each exchange, whatever else stands in the handle, and not
// as a refused certificate, which a host may choose to overlook.
void trustNothing(CURL* curl) {
  TlsOptions options(curl);
  std::string noCertificate = "none";
  options.trustOnly(noCertificate);
  options.set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
  options.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
}

}  // namespace
}  // namespace kestrelvisor

// An empty cert leaves a fresh handle with the system's trust store. Any other text replaces that
// store: a text that holds no certificate lets nobody through.
void SecuritySS::enrichSSL(void* curl, std::string& cert) {
  kestrelvisor::TlsOptions options(curl);
  options.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  // HTTP/2 would deliver header names in lower case; the engine's wire is HTTP/1.1.
  options.set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  options.set(CURLOPT_SSL_VERIFYPEER, 1L);
  options.set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (!cert.empty()) {
    options.set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
    options.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
    options.trustOnly(cert);
  }
  if (options.result() == CURLE_OK) return;

  kestrelvisor::trustNothing(curl);
  KV_LOG_AS(kestrelvisor::kPlatformTag, kError,
            "TLS options refused, no certificate will be trusted: ",
            curl_easy_strerror(options.result()));
}
