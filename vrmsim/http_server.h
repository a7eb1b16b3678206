#pragma once

#include "vrmsim/certificate.h"
#include "vrmsim/http_message.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kestrelvisor::vrmsim {

// Accepts connections and turns requests into replies, on one thread of its own.
class HttpServer {
 public:
  // Called on the server's thread. A request that could not be read comes with its defect set.
  using Handler = std::function<HttpReply(const HttpRequest&)>;

  // Listens when the constructor returns, over TLS if there is an identity. Throws
  // std::runtime_error when the address or the port cannot be had.
  HttpServer(const std::string& bindAddress, std::uint16_t port,
             const std::optional<TlsIdentity>& identity, Handler handler);

  // Closes all connections, also amidst a request.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::uint16_t port() const;

  // TLS handshakes that were begun, whatever became of them. Callable from any thread.
  std::uint64_t handshakes() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace kestrelvisor::vrmsim
