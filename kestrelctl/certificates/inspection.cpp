#include "kestrelctl/certificates/inspection.h"

#include "kestrelctl/curl_transfer.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

// One handshake, as the callbacks of OpenSSL see it.
struct Handshake {
  const std::string& host;  // as a certificate would hold it
  Inspection& inspection;
  int securityLevel = 0;  // by which a verifying client judges keys and digests
};

bool isAddress(const std::string& host) {
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  return inet_pton(AF_INET, host.c_str(), bytes.data()) == 1 ||
         inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1;
}

// As the engine's transfers demand it: a name in the subject alone is none.
bool holdsHost(X509* certificate, const std::string& host) {
  if (isAddress(host)) return X509_check_ip_asc(certificate, host.c_str(), 0) == 1;
  return X509_check_host(certificate, host.data(), host.size(), X509_CHECK_FLAG_NEVER_CHECK_SUBJECT,
                         nullptr) == 1;
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

void readChain(X509_STORE_CTX* context, Handshake& handshake) {
  const STACK_OF(X509)* const sent = X509_STORE_CTX_get0_untrusted(context);
  for (int i = 0; i < sk_X509_num(sent); ++i) {
    handshake.inspection.chain.push_back(readCertificate(*sk_X509_value(sent, i)));
  }
  handshake.inspection.namesHost = holdsHost(X509_STORE_CTX_get0_cert(context), handshake.host);
}

// Notes what is wrong and goes on, so that all of it is found.
int noteProblem(int good, X509_STORE_CTX* context) noexcept {
  if (good == 1) return 1;
  auto& handshake = *static_cast<Handshake*>(X509_STORE_CTX_get_app_data(context));
  try {
    note(handshake.inspection, X509_STORE_CTX_get_error(context),
         X509_STORE_CTX_get_error_depth(context));
  } catch (...) {  // of the memory; OpenSSL's code lets no exception pass
    return 0;
  }
  return 1;
}

// Stands in for OpenSSL's verification: the same, but for the end.
int judgeChain(X509_STORE_CTX* context, void* data) noexcept {
  auto& handshake = *static_cast<Handshake*>(data);
  try {
    readChain(context, handshake);
  } catch (...) {
    return 0;
  }
  X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context), handshake.securityLevel);
  X509_STORE_CTX_set_app_data(context, &handshake);
  X509_STORE_CTX_set_verify_cb(context, noteProblem);
  const int verdict = X509_verify_cert(context);
  ERR_clear_error();
  X509_STORE_CTX_set_error(context, X509_V_OK);
  return verdict > 0 ? 1 : 0;
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
  Inspection& inspection = handshakeOf(connection).inspection;
  try {
    inspection.protocol = SSL_get_version(connection);
    inspection.cipher = SSL_get_cipher_name(connection);
  } catch (...) {  // what is missing then is told as a handshake that failed
    inspection.protocol.clear();
  }
}

// Called as soon as there is a connection to greet on; libcurl itself tells of one only when all of
// it has worked. Old versions and weak algorithms are to be seen and named: what a client makes of
// them is told by the level that was there before.
CURLcode prepareHandshake(CURL*, void* context, void* data) noexcept {
  auto* const tls = static_cast<SSL_CTX*>(context);
  auto& handshake = *static_cast<Handshake*>(data);
  handshake.inspection.connected = true;
  handshake.securityLevel = SSL_CTX_get_security_level(tls);
  SSL_CTX_set_security_level(tls, 0);
  SSL_CTX_set_app_data(tls, &handshake);
  SSL_CTX_set_cert_verify_callback(tls, judgeChain, &handshake);
  SSL_CTX_set_client_cert_cb(tls, noteDemand);
  SSL_CTX_set_info_callback(tls, noteEnd);
  return CURLE_OK;
}

// Without the brackets and the zone of an IPv6 address, and without the root's dot of a name.
std::string plainHost(const std::string& host) {
  if (host.front() != '[') return host.back() == '.' ? host.substr(0, host.size() - 1) : host;
  return host.substr(1, host.find_first_of("%]") - 1);
}

// "HOST:PORT:ADDRESS,ADDRESS", so that nothing is looked up twice; null when there is nothing.
CurlList knownAddresses(const InspectionRequest& request) {
  if (request.addresses.empty() || request.manager.host.front() == '[') return nullptr;
  std::string line = request.manager.host + ":" + std::to_string(request.manager.port) + ":";
  for (const std::string& address : request.addresses) {
    line += (line.back() == ':' ? "" : ",") + address;
  }
  return listOf(line);
}

void setTls(CurlTransfer& connection, const InspectionRequest& request, Handshake& handshake) {
  connection.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_0));
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

void readResult(CurlTransfer& connection, CURLcode result, Inspection& inspection) {
  const auto took = connection.told<curl_off_t>(CURLINFO_CONNECT_TIME_T);
  inspection.connected = inspection.connected || took > 0;
  inspection.connectTime = std::chrono::microseconds(took);
  inspection.address = addressOf(connection);
  inspection.timedOut = result == CURLE_OPERATION_TIMEDOUT;
  inspection.handshaken = result == CURLE_OK && !inspection.protocol.empty();
  // The system's words say more than that there is no connection.
  const auto reason = static_cast<int>(connection.told<long>(CURLINFO_OS_ERRNO));
  inspection.problem = result == CURLE_COULDNT_CONNECT && reason != 0
                           ? std::generic_category().message(reason)
                           : connection.problem();
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

Inspection inspect(const InspectionRequest& request) {
  Inspection inspection;
  const std::string host = plainHost(request.manager.host);
  Handshake handshake{host, inspection};
  const CurlList addresses = knownAddresses(request);
  CurlTransfer connection;  // ends before what it points at
  connection.set(CURLOPT_URL, request.manager.url().c_str());
  connection.set(CURLOPT_CONNECT_ONLY, 1L);
  connection.set(CURLOPT_TIMEOUT_MS, static_cast<long>(request.limit.count()));
  if (addresses) connection.set(CURLOPT_RESOLVE, addresses.get());
  if (request.manager.https) setTls(connection, request, handshake);
  readResult(connection, connection.perform(), inspection);
  return inspection;
}

}  // namespace kestrelvisor::ctl
