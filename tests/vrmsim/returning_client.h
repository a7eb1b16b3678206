#pragma once

#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace kestrelvisor::vrmsim::test {

// A TLS client that keeps its session from one connection to the next, and trusts anybody.
class ReturningClient {
 public:
  // Speaks this version alone: TLS1_3_VERSION.
  explicit ReturningClient(std::uint16_t port, int version = TLS1_3_VERSION)
      : server_("127.0.0.1:" + std::to_string(port)),
        context_(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free) {
    SSL_CTX_set_min_proto_version(context_.get(), version);
    SSL_CTX_set_max_proto_version(context_.get(), version);
  }

  // Asks one question; whether its connection resumed the session of the one before.
  bool resumes() {
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> connection(
        BIO_new_ssl_connect(context_.get()), &BIO_free_all);
    BIO_set_conn_hostname(connection.get(), server_.c_str());
    SSL* tls = nullptr;
    BIO_get_ssl(connection.get(), &tls);
    if (session_) SSL_set_session(tls, session_.get());
    BIO_puts(connection.get(),
             "GET /service/versions HTTP/1.1\r\nHost: manager\r\nConnection: close\r\n\r\n");
    std::array<char, 4096> answer{};
    while (BIO_read(connection.get(), answer.data(), static_cast<int>(answer.size())) > 0) {
      answered_ = true;
    }
    session_.reset(SSL_get1_session(tls));
    return SSL_session_reused(tls) == 1;
  }

  bool wasAnswered() const { return answered_; }

 private:
  const std::string server_;
  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context_;
  std::unique_ptr<SSL_SESSION, decltype(&SSL_SESSION_free)> session_{nullptr, &SSL_SESSION_free};
  bool answered_ = false;
};

}  // namespace kestrelvisor::vrmsim::test
