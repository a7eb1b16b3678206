#pragma once

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace kestrelvisor::test {

struct OpenSslFree {
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
  void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
  void operator()(SSL_CTX* context) const noexcept { SSL_CTX_free(context); }
  void operator()(SSL* connection) const noexcept { SSL_free(connection); }
};

// A certificate with its key, valid from the year 2000 on.
class Identity {
 public:
  // Signed by issuer, or by itself when there is none. subjectAltName is in OpenSSL's form:
  // "IP:127.0.0.1". An empty one makes a certificate authority. end is the last moment of it, as
  // YYYYMMDDhhmmssZ.
  explicit Identity(const std::string& name, const std::string& subjectAltName = {},
                    const Identity* issuer = nullptr, const std::string& end = "21000101000000Z");

  std::string pem() const;
  X509* certificate() const { return certificate_.get(); }
  EVP_PKEY* key() const { return key_.get(); }

 private:
  std::unique_ptr<EVP_PKEY, OpenSslFree> key_;
  std::unique_ptr<X509, OpenSslFree> certificate_;
};

// Answers HTTP requests over TLS with an empty 200 on a loopback port until it ends.
class TlsServer {
 public:
  // adjust may change the context before the first connection. port may be that of a server of
  // before; 0: the kernel chooses.
  explicit TlsServer(const Identity& identity, const std::function<void(SSL_CTX*)>& adjust = {},
                     int port = 0);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::string url(const std::string& host = "127.0.0.1") const;
  int port() const { return port_; }
  bool sawAlpn() const { return sawAlpn_; }
  int served() const { return served_; }    // handshakes that came to their end
  int resumed() const { return resumed_; }  // those of them that resumed a session

 private:
  void run();
  void serve(int connection);

  std::unique_ptr<SSL_CTX, OpenSslFree> context_;
  std::atomic<bool> sawAlpn_{false};
  std::atomic<int> served_{0};
  std::atomic<int> resumed_{0};
  int listener_ = -1;
  int port_ = 0;
  std::thread thread_;
};

}  // namespace kestrelvisor::test
