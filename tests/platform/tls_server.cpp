#include "tests/platform/tls_server.h"

#include <arpa/inet.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

constexpr int kSecondsPerCall = 10;

void require(bool worked, const char* what) {
  if (!worked) throw std::runtime_error(what);
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(extension != nullptr, "certificate extension");
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

int countAlpn(SSL*, const unsigned char**, unsigned char*, const unsigned char*, unsigned int,
              void* seen) {
  *static_cast<std::atomic<bool>*>(seen) = true;
  return SSL_TLSEXT_ERR_NOACK;
}

void limitTime(int socket) {
  const timeval limit{kSecondsPerCall, 0};
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

}  // namespace

Identity::Identity(const std::string& name, const std::string& subjectAltName,
                   const Identity* issuer, const std::string& end)
    : key_(EVP_EC_gen("P-256")), certificate_(X509_new()) {
  X509* const certificate = certificate_.get();
  require(key_ && certificate, "key and certificate");
  X509_set_version(certificate, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), issuer == nullptr ? 1 : 2);
  ASN1_TIME_set_string(X509_getm_notBefore(certificate), "20000101000000Z");
  ASN1_TIME_set_string(X509_getm_notAfter(certificate), end.c_str());
  X509_set_pubkey(certificate, key_.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  X509* const signer = issuer == nullptr ? certificate : issuer->certificate();
  X509_set_issuer_name(certificate, X509_get_subject_name(signer));
  if (subjectAltName.empty()) {
    addExtension(certificate, signer, NID_basic_constraints, "critical,CA:TRUE");
  } else {
    addExtension(certificate, signer, NID_subject_alt_name, subjectAltName);
  }
  EVP_PKEY* const signingKey = issuer == nullptr ? key_.get() : issuer->key();
  require(X509_sign(certificate, signingKey, EVP_sha256()) > 0, "signature");
}

std::string Identity::pem() const {
  BIO* const memory = BIO_new(BIO_s_mem());
  PEM_write_bio_X509(memory, certificate_.get());
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory, &text);
  std::string pem(text, static_cast<std::size_t>(size));
  BIO_free(memory);
  return pem;
}

TlsServer::TlsServer(const Identity& identity, const std::function<void(SSL_CTX*)>& adjust,
                     int port)
    : context_(SSL_CTX_new(TLS_server_method())) {
  require(context_ != nullptr, "TLS context");
  SSL_CTX_use_certificate(context_.get(), identity.certificate());
  SSL_CTX_use_PrivateKey(context_.get(), identity.key());
  SSL_CTX_set_alpn_select_cb(context_.get(), countAlpn, &sawAlpn_);
  if (adjust) adjust(context_.get());

  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const int reuse = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
  socklen_t size = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  require(listener_ >= 0 && bind(listener_, generic, size) == 0 && listen(listener_, 64) == 0 &&
              getsockname(listener_, generic, &size) == 0,
          "listening socket");
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { run(); });
}

TlsServer::~TlsServer() {
  shutdown(listener_, SHUT_RDWR);  // wakes the thread
  thread_.join();
  close(listener_);
}

std::string TlsServer::url(const std::string& host) const {
  return "https://" + host + ":" + std::to_string(port_) + "/";
}

void TlsServer::run() {
  // A client that goes away must not end the process.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  for (;;) {
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    limitTime(connection);
    serve(connection);
    close(connection);
  }
}

void TlsServer::serve(int connection) {
  const std::unique_ptr<SSL, OpenSslFree> tls(SSL_new(context_.get()));
  SSL_set_fd(tls.get(), connection);
  if (SSL_accept(tls.get()) != 1) return;
  ++served_;
  if (SSL_session_reused(tls.get()) == 1) ++resumed_;
  std::array<char, 4096> buffer{};
  std::string request;
  while (request.find("\r\n\r\n") == std::string::npos) {
    const int got = SSL_read(tls.get(), buffer.data(), static_cast<int>(buffer.size()));
    if (got <= 0) return;
    request.append(buffer.data(), static_cast<std::size_t>(got));
  }
  const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  SSL_write(tls.get(), answer.data(), static_cast<int>(answer.size()));
  SSL_shutdown(tls.get());
}

}  // namespace kestrelvisor::test
