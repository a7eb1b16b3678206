#include "kestrelctl/certificates/inspection.h"

#include "kestrelctl/curl_transfer.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <exception>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

// One handshake, as the callbacks of OpenSSL see it.
struct Handshake {
  const std::string& host;  // as a certificate would hold it
  Inspection& inspection;
  int securityLevel = 0;      // by which a verifying client judges keys and digests
  std::exception_ptr thrown;  // what must not pass through the code of OpenSSL and libcurl
};

// Runs a part of a callback; false when it throws, which ends the handshake.
template <class Part>
bool guarded(Handshake& handshake, const Part& part) noexcept {
  try {
    part();
    return true;
  } catch (...) {
    handshake.thrown = std::current_exception();
    return false;
  }
}

bool isAddress(const std::string& host) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  return inet_pton(AF_INET, host.c_str(), bytes.data()) == 1 ||
         inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1;
}

// As the engine's transfers demand it, which libcurl and OpenSSL both look at: a name in the
// subject alone is none, and neither is one with a star for a part of a label.
bool holdsHost(X509* certificate, const std::string& host) {
  constexpr unsigned int kFlags =
      X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;
  if (isAddress(host)) return X509_check_ip_asc(certificate, host.c_str(), 0) == 1;
  return X509_check_host(certificate, host.data(), host.size(), kFlags, nullptr) == 1;
}

void note(Inspection& inspection, int code, int depth) {
  const CertificateProblem problem{code, static_cast<std::size_t>(std::max(depth, 0)),
                                   X509_verify_cert_error_string(code)};
  const auto known = [&](const CertificateProblem& other) {
    return other.code == problem.code && other.depth == problem.depth;
  };
  auto& problems = inspection.problems;
  if (std::none_of(problems.begin(), problems.end(), known)) problems.push_back(problem);
}

std::vector<Certificate> readCertificates(const STACK_OF(X509) * certificates) {
  std::vector<Certificate> read;
  for (int i = 0; i < sk_X509_num(certificates); ++i) {
    read.push_back(readCertificate(*sk_X509_value(certificates, i)));
  }
  return read;
}

// Notes what is wrong and goes on, so that all of it is found.
int noteProblem(int good, X509_STORE_CTX* context) noexcept {
  if (good == 1) return 1;
  auto& handshake = *static_cast<Handshake*>(X509_STORE_CTX_get_app_data(context));
  const bool noted = guarded(handshake, [&] {
    note(handshake.inspection, X509_STORE_CTX_get_error(context),
         X509_STORE_CTX_get_error_depth(context));
  });
  return noted ? 1 : 0;
}

// Stands in for OpenSSL's verification: the same, but for the end.
int judgeChain(X509_STORE_CTX* context, void* data) noexcept {
  auto& handshake = *static_cast<Handshake*>(data);
  Inspection& inspection = handshake.inspection;
  const auto readSent = [&] {
    inspection.chain = readCertificates(X509_STORE_CTX_get0_untrusted(context));
    inspection.namesHost = holdsHost(X509_STORE_CTX_get0_cert(context), handshake.host);
  };
  const auto readPath = [&] {
    inspection.path = readCertificates(X509_STORE_CTX_get0_chain(context));
  };
  if (!guarded(handshake, readSent)) return 0;
  X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context), handshake.securityLevel);
  X509_STORE_CTX_set_app_data(context, &handshake);
  X509_STORE_CTX_set_verify_cb(context, noteProblem);
  const int verdict = X509_verify_cert(context);
  ERR_clear_error();
  X509_STORE_CTX_set_error(context, X509_V_OK);
  return verdict > 0 && guarded(handshake, readPath) ? 1 : 0;
}

Handshake& handshakeOf(const SSL* connection) {
  return *static_cast<Handshake*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(connection)));
}

int noteDemand(SSL* connection, X509**, EVP_PKEY**) {
  handshakeOf(connection).inspection.demandsCertificate = true;
  return 0;  // there is none
}

void noteEnd(const SSL* connection, int moment, int) noexcept {
  if (moment != SSL_CB_HANDSHAKE_DONE) return;
  Handshake& handshake = handshakeOf(connection);
  guarded(handshake, [&] {
    handshake.inspection.protocol = SSL_get_version(connection);
    handshake.inspection.cipher = SSL_get_cipher_name(connection);
  });
}

// The oldest versions of TLS tell which connection is prepared, the manager's or that of a proxy
// that speaks TLS itself: nothing else does.
constexpr long kOldestOfManager = CURL_SSLVERSION_TLSv1_0;
constexpr long kOldestOfProxy = CURL_SSLVERSION_TLSv1_2;

bool isOfProxy(SSL_CTX* tls) { return SSL_CTX_get_min_proto_version(tls) != TLS1_VERSION; }

// Called as soon as there is a connection to greet on; libcurl itself tells of one only when all of
// it has worked. Old versions and weak algorithms are to be seen and named: what a client makes of
// them is told by the level that was there before. A proxy's greeting is refused, as in the
// engine's transfers: its certificates are not the manager's.
CURLcode prepareHandshake(CURL*, void* context, void* data) noexcept {
  auto* const tls = static_cast<SSL_CTX*>(context);
  auto& handshake = *static_cast<Handshake*>(data);
  if (isOfProxy(tls)) return CURLE_ABORTED_BY_CALLBACK;
  handshake.inspection.connected = true;
  handshake.securityLevel = SSL_CTX_get_security_level(tls);
  SSL_CTX_set_security_level(tls, 0);
  SSL_CTX_set_app_data(tls, &handshake);
  SSL_CTX_set_cert_verify_callback(tls, judgeChain, &handshake);
  SSL_CTX_set_client_cert_cb(tls, noteDemand);
  SSL_CTX_set_info_callback(tls, noteEnd);
  return CURLE_OK;
}

// "HOST:PORT:ADDRESS,ADDRESS", so that nothing is looked up twice; null when there is nothing. For
// an address with a zone libcurl refuses all of them.
CurlList knownAddresses(const InspectionRequest& request) {
  if (request.addresses.empty() || request.manager.host.front() == '[') return nullptr;
  std::string line = request.manager.host + ":" + std::to_string(request.manager.port) + ":";
  for (const std::string& address : request.addresses) {
    if (address.find('%') == std::string::npos) line += (line.back() == ':' ? "" : ",") + address;
  }
  return line.back() == ':' ? nullptr : listOf(line);
}

void setTls(CurlTransfer& connection, const InspectionRequest& request, Handshake& handshake) {
  connection.set(CURLOPT_SSLVERSION, kOldestOfManager);
  connection.set(CURLOPT_PROXY_SSLVERSION, kOldestOfProxy);
  connection.set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  connection.set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
  connection.set(CURLOPT_SSL_VERIFYHOST, 0L);  // judged by ourselves
  connection.set(CURLOPT_SSL_CTX_FUNCTION, &prepareHandshake);
  connection.set(CURLOPT_SSL_CTX_DATA, static_cast<void*>(&handshake));
  if (request.trusted.empty()) return;
  std::string trusted = request.trusted;
  curl_blob blob{trusted.data(), trusted.size(), CURL_BLOB_COPY};
  connection.set(CURLOPT_CAINFO_BLOB, &blob);
}

std::string addressOf(CurlTransfer& connection) {
  const char* const address = connection.told<const char*>(CURLINFO_PRIMARY_IP);
  if (address == nullptr || *address == '\0') return {};
  const std::string host = address;
  const bool isIpv6 = host.find(':') != std::string::npos;
  return (isIpv6 ? "[" + host + "]" : host) + ":" +
         std::to_string(connection.told<long>(CURLINFO_PRIMARY_PORT));
}

std::string problemOf(CurlTransfer& connection, CURLcode result) {
  if (result == CURLE_ABORTED_BY_CALLBACK) {
    return "the proxy wants to be spoken to over TLS, which is not done";
  }
  // libcurl's own words would show the variable, in which a password may stand.
  if (result == CURLE_COULDNT_RESOLVE_PROXY) return "the proxy has no name that can be used";
  // The system's words say more than that there is no connection.
  const auto reason = static_cast<int>(connection.told<long>(CURLINFO_OS_ERRNO));
  return result == CURLE_COULDNT_CONNECT && reason != 0 ? std::generic_category().message(reason)
                                                        : connection.problem();
}

void readResult(CurlTransfer& connection, CURLcode result, Inspection& inspection) {
  const auto took = connection.told<curl_off_t>(CURLINFO_CONNECT_TIME_T);
  const bool isBehindProxy = connection.told<long>(CURLINFO_HTTP_CONNECTCODE) != 0;
  inspection.connected = inspection.connected || took > 0;
  inspection.connectTime = std::chrono::microseconds(took);
  if (!isBehindProxy) inspection.address = addressOf(connection);
  inspection.timedOut = result == CURLE_OPERATION_TIMEDOUT;
  inspection.handshaken = result == CURLE_OK && !inspection.protocol.empty();
  inspection.problem = problemOf(connection, result);
}

}  // namespace

bool CertificateProblem::isOfTime() const {
  return code == X509_V_ERR_CERT_HAS_EXPIRED || code == X509_V_ERR_CERT_NOT_YET_VALID;
}

const CertificateProblem* Inspection::problemOfTrust() const {
  const auto found = std::find_if(problems.begin(), problems.end(),
                                  [](const auto& entry) { return !entry.isOfTime(); });
  return found == problems.end() ? nullptr : &*found;
}

const CertificateProblem* Inspection::problemOfTime() const {
  const auto found = std::find_if(problems.begin(), problems.end(),
                                  [](const auto& entry) { return entry.isOfTime(); });
  return found == problems.end() ? nullptr : &*found;
}

std::optional<std::size_t> Inspection::placeInChain(std::size_t depth) const {
  if (depth >= path.size()) return std::nullopt;
  const auto found = std::find_if(chain.begin(), chain.end(), [&](const Certificate& sent) {
    return sent.fingerprint == path[depth].fingerprint;
  });
  if (found == chain.end()) return std::nullopt;
  return static_cast<std::size_t>(found - chain.begin());
}

std::string Inspection::nameInPath(std::size_t depth) const {
  if (const auto place = placeInChain(depth)) return "certificate " + std::to_string(*place + 1);
  const bool isNamed = depth < path.size() && !path[depth].subject.empty();
  return "the trusted authority" + (isNamed ? " " + path[depth].subject : "");
}

Inspection inspect(const InspectionRequest& request) {
  Inspection inspection;
  const std::string host = request.manager.plainHost();
  Handshake handshake{host, inspection, {}, {}};
  const CurlList addresses = knownAddresses(request);
  CurlTransfer connection;  // ends before what it points at
  connection.set(CURLOPT_URL, request.manager.url().c_str());
  connection.set(CURLOPT_CONNECT_ONLY, 1L);
  connection.set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.limit.count()));
  if (addresses) connection.set(CURLOPT_RESOLVE, addresses.get());
  if (request.manager.https) setTls(connection, request, handshake);
  const CURLcode result = connection.perform();
  if (handshake.thrown) std::rethrow_exception(handshake.thrown);
  readResult(connection, result, inspection);
  return inspection;
}

}  // namespace kestrelvisor::ctl
