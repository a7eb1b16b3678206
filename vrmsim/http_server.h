#pragma once

#include "vrmsim/certificate.h"
#include "vrmsim/fault_rule.h"
#include "vrmsim/http_message.h"
#include "vrmsim/script.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

// TLS handshakes so far.
struct Handshakes {
  std::uint64_t begun = 0;    // whatever became of them
  std::uint64_t resumed = 0;  // came to their end with a session of before
};

// Accepts connections and plays what it is told to say to their requests, on one thread of its own.
class HttpServer {
 public:
  // Where it listens, and who tells what to say there. The functions are called on the server's
  // thread.
  struct Endpoint {
    std::string bindAddress;
    std::uint16_t port = 0;  // 0: the kernel chooses
    std::optional<TlsIdentity> identity;

    // What goes out for a request. One that could not be read comes with its defect set.
    std::function<Script(const HttpRequest& request, bool keepAlive)> answer;

    // What becomes of a connection at a moment before its first request, of which only the
    // connection's own facts are set; nothing: it goes on. Need not be there.
    std::function<std::optional<Script>(FaultMoment moment, const HttpRequest& origin)> interrupt;
  };

  // Listens when the constructor returns, over TLS where there is an identity. Throws
  // std::runtime_error when an address or a port cannot be had.
  explicit HttpServer(std::vector<Endpoint> endpoints);

  // Closes all connections, also amidst a request or an answer.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // Of the endpoint at that place of the list.
  std::uint16_t port(std::size_t endpoint) const;

  // Callable from any thread.
  Handshakes handshakes() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace kestrelvisor::vrmsim
