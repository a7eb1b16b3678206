#include "platform/reference/tls.h"

#include "base/log.h"
#include "platform/contract/security.h"
#include "platform/reference/platform_tag.h"
#include "platform/reference/read_url.h"
#include "platform/reference/session_validity.h"
#include "platform/reference/system_trust.h"
#include "platform/reference/tls_sharing.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <openssl/err.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

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

  void dropFiles() {
    set(CURLOPT_CAINFO, static_cast<const char*>(nullptr));
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }

  // Not when an option was refused: what such a handle accepts is nobody else's business.
  void share(std::string_view trusted) {
    if (result_ == CURLE_OK) result_ = shareTls(curl_, trusted);
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

// No static object of this has a destructor: logouts at process exit still ask for the key.
constexpr std::string_view kPinStart = "sha256//";
constexpr std::size_t kPinSize = 52;
constinit std::mutex publicKeyMutex;
constinit std::array<char, kPinSize + 1> publicKey{};  // empty: any

bool isPin(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() != kPinSize || text.substr(0, kPinStart.size()) != kPinStart) return false;
  return text.back() == '=' &&  // 32 bytes end so
         text.substr(kPinStart.size()).find_first_not_of(kDigits) ==
             kPinSize - 1 - kPinStart.size();
}

// libcurl copies the text; null lets any key pass.
void demandPublicKey(TlsOptions& options) {
  const std::lock_guard lock(publicKeyMutex);
  options.set(CURLOPT_PINNEDPUBLICKEY,
              publicKey[0] == '\0' ? static_cast<const char*>(nullptr) : publicKey.data());
}

constexpr unsigned int kHostFlags = X509_CHECK_FLAG_NEVER_CHECK_SUBJECT;

// Makes the handshake fail unless the certificate holds the host as an alternative name. False when
// that could not be demanded.
bool demandHost(SSL_CTX* context, std::string host) {
  const bool isIpv6 = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isIpv6) host = host.substr(1, host.size() - 2);
  if (!host.empty() && host.back() == '.') host.pop_back();  // the root's dot
  if (host.empty()) return false;                            // OpenSSL would demand nothing

  X509_VERIFY_PARAM* const demands = SSL_CTX_get0_param(context);
  if (isIpv6 || isIpv4(host)) return X509_VERIFY_PARAM_set1_ip_asc(demands, host.c_str()) == 1;
  X509_VERIFY_PARAM_set_hostflags(demands, kHostFlags);
  return X509_VERIFY_PARAM_set1_host(demands, host.c_str(), host.size()) == 1;
}

struct OpenSslFree {
  void operator()(char* text) const noexcept { OPENSSL_free(text); }
};

// Whether the session's certificate holds the host that is demanded of the connection.
bool holdsHost(SSL* connection, SSL_SESSION* session) {
  X509* const certificate = SSL_SESSION_get0_peer(session);
  X509_VERIFY_PARAM* const demands = SSL_get0_param(connection);
  const char* const name = X509_VERIFY_PARAM_get0_host(demands, 0);
  if (name != nullptr) return X509_check_host(certificate, name, 0, kHostFlags, nullptr) == 1;
  const std::unique_ptr<char, OpenSslFree> address(X509_VERIFY_PARAM_get1_ip_asc(demands));
  return address && X509_check_ip_asc(certificate, address.get(), 0) == 1;
}

// OpenSSL's own verification. What a wrong signature leaves in the error queue stands before the
// refusal itself, and libcurl, which reads the oldest entry, would tell of a failed connection. A
// negative verdict is a failure of OpenSSL's, such as lack of memory, and is told as one.
int verifyChain(X509_STORE_CTX* chain, void*) {
  const int verdict = X509_verify_cert(chain);
  if (verdict == 0) ERR_clear_error();
  return verdict;
}

// OpenSSL believes a session that it resumes: its certificates were judged when it was made, and a
// session may be renewed for ever. Trust and options are those of before, or libcurl would not have
// found it. Time is not, and neither is the host where the session is a proxy's, which libcurl
// finds by the proxy's name. A session whose certificates would be refused now is dropped before
// the client's greeting goes out, and a full handshake follows.
void judgeSession(const SSL* connection, int moment, int) {
  auto* const tls = const_cast<SSL*>(connection);
  SSL_SESSION* const session = SSL_get_session(tls);
  if (moment != SSL_CB_HANDSHAKE_START || session == nullptr) return;
  if (SSL_get_verify_mode(tls) == SSL_VERIFY_NONE) return;
  if (isInTime(session) && holdsHost(tls, session)) return;
  ERR_clear_error();  // of a judgement without memory: the handshake goes on
  SSL_set_session(tls, nullptr);
}

using NewSession = int (*)(SSL*, SSL_SESSION*);

// libcurl's own; the same for each connection.
constinit std::atomic<NewSession> keepInLibcurl = nullptr;

// A session that could not be judged later is not kept at all.
//
// When libcurl finds no memory to keep a session, its list is left with a name that has been freed,
// and is freed again with the next session. So it is not told of another: neither by this
// connection nor, through the share, by later ones.
int keepSession(SSL* connection, SSL_SESSION* session) noexcept {
  if (!keepValidity(connection, session)) return 0;
  const int kept = keepInLibcurl.load()(connection, session);
  if (kept == 1) return kept;
  SSL_CTX* const context = SSL_get_SSL_CTX(connection);
  SSL_CTX_sess_set_new_cb(context, nullptr);
  retireTlsShare(SSL_CTX_get_app_data(context));
  return kept;
}

void watchSessions(SSL_CTX* context, void* share) {
  const NewSession libcurls = SSL_CTX_sess_get_new_cb(context);
  if (libcurls == nullptr) return;
  keepInLibcurl = libcurls;
  SSL_CTX_set_app_data(context, share);
  SSL_CTX_sess_set_new_cb(context, keepSession);
}

// libcurl takes a host that stands in the certificate's subject alone, which authorities no longer
// vouch for. Called for each connection, and that is where the host belongs: a handle may get
// another URL.
CURLcode prepareVerification(CURL* curl, void* context, void* share) {
  try {
    auto* const tls = static_cast<SSL_CTX*>(context);
    SSL_CTX_set_cert_verify_callback(tls, verifyChain, nullptr);
    SSL_CTX_set_info_callback(tls, judgeSession);
    watchSessions(tls, share);
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

// A store that cannot be read is told with libcurl's own code for it, which nobody may overlook.
CURLcode prepareWithSystemTrust(CURL* curl, void* context, void* share) {
  auto* const tls = static_cast<SSL_CTX*>(context);
  const bool verifies = SSL_CTX_get_verify_mode(tls) != SSL_VERIFY_NONE;
  if (verifies && !trustSystem(tls)) return CURLE_SSL_CACERT_BADFILE;
  return prepareVerification(curl, context, share);
}

CURLcode refuseConnection(CURL*, void*, void*) { return CURLE_SSL_CACERT_BADFILE; }

// A trust store that cannot be read ends each exchange, whatever else stands in the handle, and not
// as a refused certificate, which a host may choose to overlook. Twice, as options may be refused.
void trustNothing(CURL* curl) {
  TlsOptions options(curl);
  options.set(CURLOPT_SSL_CTX_FUNCTION, refuseConnection);
  std::string noCertificate = "none";
  options.trustOnly(noCertificate);
  options.dropFiles();
}

}  // namespace

bool keepToPublicKey(std::string_view pin) {
  if (!pin.empty() && !isPin(pin)) return false;
  const std::lock_guard lock(publicKeyMutex);
  publicKey.fill('\0');
  std::copy(pin.begin(), pin.end(), publicKey.begin());
  return true;
}

void renewTrust() {
  forgetSystemTrust();
  forgetTlsShares();
}

}  // namespace kestrelvisor

// An empty cert stands for the system's trust store. Any other text replaces that store: a text
// that holds no certificate lets nobody through. The handle has had no exchange yet: the sessions
// of its own that libcurl made would be lost, and not freed, when it gets to share.
void SecuritySS::enrichSSL(void* curl, std::string& cert) {
  kestrelvisor::repairRandomNumbers();
  const auto prepare = cert.empty() ? kestrelvisor::prepareWithSystemTrust  //
                                    : kestrelvisor::prepareVerification;
  kestrelvisor::TlsOptions options(curl);
  options.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  // HTTP/2 would deliver header names in lower case; the engine's wire is HTTP/1.1.
  options.set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  options.set(CURLOPT_SSL_VERIFYPEER, 1L);
  options.set(CURLOPT_SSL_VERIFYHOST, 2L);
  options.set(CURLOPT_SSL_CTX_FUNCTION, prepare);
  options.dropFiles();
  if (cert.empty()) {
    options.set(CURLOPT_CAINFO_BLOB, static_cast<curl_blob*>(nullptr));
  } else {
    options.trustOnly(cert);
  }
  kestrelvisor::demandPublicKey(options);
  options.share(cert);
  if (options.result() == CURLE_OK) return;

  kestrelvisor::trustNothing(curl);
  KV_LOG_AS(kestrelvisor::kPlatformTag, kError,
            "TLS options refused, no certificate will be trusted: ",
            curl_easy_strerror(options.result()));
}
