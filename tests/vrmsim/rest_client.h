#pragma once

#include <json/json.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kestrelvisor::vrmsim::test {

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Answer {
  int status = 0;
  std::string head;  // status line and headers as they came
  std::string body;

  // The body as JSON; null when it is none.
  Json::Value json() const;
  std::string errorCode() const { return json()["errorCode"].asString(); }
  bool hasLine(const std::string& line) const;
};

enum class StreamEnd {
  kClosed,  // orderly; over TLS with its notice
  kCut,     // over TLS without the notice
  kReset,
};

// What a client has read when nothing more can come.
struct Remainder {
  std::string bytes;
  StreamEnd end;
};

// One connection to 127.0.0.1, or to another address of this machine. With a certificate it speaks
// TLS and trusts that certificate alone. Throws std::runtime_error when it cannot go on.
class Connection {
 public:
  explicit Connection(std::uint16_t port, const std::string& certificatePem = "",
                      const std::string& address = "127.0.0.1");
  ~Connection();
  Connection(Connection&&) noexcept;
  Connection& operator=(Connection&&) = delete;

  void send(const std::string& bytes);
  Answer receive();
  Answer ask(const std::string& method, const std::string& target, const Headers& headers = {},
             const std::string& body = "");
  bool closedByServer();

  // Exactly so many bytes, whatever they mean.
  std::string read(std::size_t size);
  Remainder readToTheEnd();

  // Nothing has come so far, and the connection is open. Looks once, after a moment that is long
  // for a server that wants to speak.
  bool isSilent();

  // Lets the server see the end of what the client sends, as when it has hung up.
  void hangUp();

 private:
  struct Tls;
  std::size_t read(char* buffer, std::size_t size);
  StreamEnd endOf(std::ptrdiff_t failure) const;

  int socket_;
  std::unique_ptr<Tls> tls_;
  std::string pending_;
};

// Asks as a client of the manager does: a fresh connection for each request, the version in the
// Accept header, the token of the last login.
class RestClient {
 public:
  explicit RestClient(std::uint16_t port, std::string certificatePem = "");

  Answer ask(const std::string& method, const std::string& target) const;
  Answer get(const std::string& target) const { return ask("GET", target); }
  Answer logIn(const std::string& user = "backup", const std::string& password = "Backup@123");
  Answer logOut() const { return ask("DELETE", "/service/session"); }

  const std::string& token() const { return token_; }
  void useToken(const std::string& token) { token_ = token; }

 private:
  const std::uint16_t port_;
  const std::string certificatePem_;
  std::string token_;
};

constexpr const char* kAccept = "application/json;version=1.2; charset=UTF-8";

// Whether a socket can be bound to ::1.
bool machineHasIpv6();

// The headers of a login.
Headers loginHeaders(const std::string& user, const std::string& password);

}  // namespace kestrelvisor::vrmsim::test
