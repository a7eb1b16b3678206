#include "base/log.h"
#include "platform/contract/security.h"
#include "platform/reference/platform_tag.h"
#include "platform/reference/read_url.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <optional>
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

bool isIpv4(const std::string& text) {
  in_addr address;
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

// Makes the handshake fail unless the certificate holds the host as an alternative name. False when
// that could not be demanded.
bool demandHost(SSL_CTX* context, std::string host) {
  const bool isIpv6 = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isIpv6) host = host.substr(1, host.size() - 2);
  if (!host.empty() && host.back() == '.') host.pop_back();  // the root's dot
  if (host.empty()) return false;                            // OpenSSL would demand nothing

  X509_VERIFY_PARAM* const demands = SSL_CTX_get0_param(context);
  if (isIpv6 || isIpv4(host)) return X509_VERIFY_PARAM_set1_ip_asc(demands, host.c_str()) == 1;
  X509_VERIFY_PARAM_set_hostflags(demands, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
  return X509_VERIFY_PARAM_set1_host(demands, host.c_str(), host.size()) == 1;
}

// OpenSSL's own verification. What a wrong signature leaves in the error queue stands before the
// refusal itself, and libcurl, which reads the oldest entry, would tell of a failed connection. A
// negative verdict is a failure of OpenSSL's, such as lack of memory, and is told as one.
int verifyChain(X509_STORE_CTX* chain, void*) {
  const int verdict = X509_verify_cert(chain);
  if (verdict == 0) ERR_clear_error();
  return verdict;
}

// libcurl takes a host that stands in the certificate's subject alone, which authorities no longer
// vouch for. Called for each connection, and that is where the host belongs: a handle may get
// another URL. A session that libcurl resumes is not checked again; its cache knows nothing of what
// is demanded here, so handles must not share it.
CURLcode prepareVerification(CURL* curl, void* context, void*) {
  try {
    auto* const tls = static_cast<SSL_CTX*>(context);
    SSL_CTX_set_cert_verify_callback(tls, verifyChain, nullptr);
    const char* url = nullptr;
    curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &url);
    const std::optional<std::string> host = ReadUrl(url).host();
    if (host && demandHost(tls, *host)) return CURLE_OK;
    KV_LOG_AS(kPlatformTag, kError, "TLS connection refused, the manager's name cannot be checked");
  } catch (...) {  // of the memory or the log; libcurl's code lets no exception pass
  }
  return CURLE_ABORTED_BY_CALLBACK;  // not a refused certificate, which a host may overlook
}

// Once OpenSSL found no memory to renew its random numbers they stay out of order, and libcurl
// makes no TLS connection any more.
void repairRandomNumbers() {
  if (RAND_status() != 1) RAND_poll();
}

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
  kestrelvisor::repairRandomNumbers();
  kestrelvisor::TlsOptions options(curl);
  options.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  // HTTP/2 would deliver header names in lower case; the engine's wire is HTTP/1.1.
  options.set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  options.set(CURLOPT_SSL_VERIFYPEER, 1L);
  options.set(CURLOPT_SSL_VERIFYHOST, 2L);
  options.set(CURLOPT_SSL_CTX_FUNCTION, kestrelvisor::prepareVerification);
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
