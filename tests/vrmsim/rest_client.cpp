#include "tests/vrmsim/rest_client.h"

#include "vrmsim/digest.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>

namespace kestrelvisor::vrmsim::test {
namespace {

constexpr int kPatienceSeconds = 30;

// How long a read waits for its first byte.
void wait(int socket, timeval patience) {
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

int connectTo(const std::string& address, std::uint16_t port) {
  const int handle = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (handle < 0) throw std::runtime_error("no socket");
  wait(handle, {kPatienceSeconds, 0});
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  inet_pton(AF_INET, address.c_str(), &peer.sin_addr);
  if (::connect(handle, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0) {
    ::close(handle);
    throw std::runtime_error("cannot connect");
  }
  return handle;
}

std::size_t contentLength(const std::string& head) {
  const std::string name = "\r\nContent-Length: ";
  const std::size_t at = head.find(name);
  return at == std::string::npos ? 0 : std::stoul(head.substr(at + name.size()));
}

}  // namespace

struct Connection::Tls {
  Tls(int handle, const std::string& certificatePem, const std::string& address)
      : context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free), ssl(nullptr, SSL_free) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> text(
        BIO_new_mem_buf(certificatePem.data(), static_cast<int>(certificatePem.size())), BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> trusted(
        PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr), X509_free);
    X509_STORE_add_cert(SSL_CTX_get_cert_store(context.get()), trusted.get());
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    ssl.reset(SSL_new(context.get()));
    X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(ssl.get()), address.c_str());
    SSL_set_fd(ssl.get(), handle);
    std::signal(SIGPIPE, SIG_IGN);  // OpenSSL writes to a peer that has gone without asking
    if (SSL_connect(ssl.get()) != 1) throw std::runtime_error("TLS handshake failed");
  }

  std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context;
  std::unique_ptr<SSL, decltype(&SSL_free)> ssl;
};

Json::Value Answer::json() const {
  Json::Value root;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  return reader->parse(body.data(), body.data() + body.size(), &root, nullptr) ? root
                                                                               : Json::Value();
}

bool Answer::hasLine(const std::string& line) const {
  return head.find("\r\n" + line + "\r\n") != std::string::npos;
}

Connection::Connection(std::uint16_t port, const std::string& certificatePem,
                       const std::string& address)
    : socket_(connectTo(address, port)) {
  if (certificatePem.empty()) return;
  try {
    tls_ = std::make_unique<Tls>(socket_, certificatePem, address);
  } catch (const std::runtime_error&) {
    ::close(socket_);
    throw;
  }
}

Connection::Connection(Connection&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)),
      tls_(std::move(other.tls_)),
      pending_(std::move(other.pending_)) {}

Connection::~Connection() {
  if (socket_ >= 0) ::close(socket_);
}

void Connection::send(const std::string& bytes) {
  const auto size = static_cast<ssize_t>(bytes.size());
  const ssize_t sent = tls_ ? SSL_write(tls_->ssl.get(), bytes.data(), static_cast<int>(size))
                            : ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent != size) throw std::runtime_error("cannot send");
}

std::size_t Connection::read(char* buffer, std::size_t size) {
  const ssize_t count = tls_ ? SSL_read(tls_->ssl.get(), buffer, static_cast<int>(size))
                             : ::recv(socket_, buffer, size, 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

// The kind of end that a read of nothing stands for.
StreamEnd Connection::endOf(std::ptrdiff_t failure) const {
  if (failure < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
    throw std::runtime_error("the server sends nothing and keeps the connection open");
  }
  if (!tls_) return failure < 0 ? StreamEnd::kReset : StreamEnd::kClosed;
  const int error = SSL_get_error(tls_->ssl.get(), static_cast<int>(failure));
  if (error == SSL_ERROR_ZERO_RETURN) return StreamEnd::kClosed;
  return error == SSL_ERROR_SYSCALL ? StreamEnd::kReset : StreamEnd::kCut;
}

Remainder Connection::readToTheEnd() {
  Remainder all{std::exchange(pending_, {}), StreamEnd::kClosed};
  char buffer[16384];
  for (;;) {
    errno = 0;
    ERR_clear_error();
    const ssize_t count = tls_ ? SSL_read(tls_->ssl.get(), buffer, sizeof buffer)
                               : ::recv(socket_, buffer, sizeof buffer, 0);
    if (count <= 0) {
      all.end = endOf(count);
      return all;
    }
    all.bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

std::string Connection::read(std::size_t size) {
  char buffer[16384];
  while (pending_.size() < size) {
    const std::size_t count = read(buffer, std::min(sizeof buffer, size - pending_.size()));
    if (count == 0) throw std::runtime_error("the bytes ended early: " + pending_);
    pending_.append(buffer, count);
  }
  const std::string bytes = pending_.substr(0, size);
  pending_.erase(0, size);
  return bytes;
}

bool Connection::isSilent() {
  constexpr int kMomentMicroseconds = 30'000;
  wait(socket_, {0, kMomentMicroseconds});
  char byte = 0;
  // TLS has messages of its own, which are no word of the server's.
  const ssize_t count =
      tls_ ? SSL_peek(tls_->ssl.get(), &byte, 1) : ::recv(socket_, &byte, 1, MSG_PEEK);
  const bool nothing =
      tls_ ? SSL_get_error(tls_->ssl.get(), static_cast<int>(count)) == SSL_ERROR_WANT_READ
           : count < 0 && errno == EAGAIN;
  wait(socket_, {kPatienceSeconds, 0});
  return pending_.empty() && nothing;
}

void Connection::hangUp() { ::shutdown(socket_, SHUT_WR); }

Answer Connection::receive() {
  char buffer[16384];
  const auto more = [&] {
    const std::size_t count = read(buffer, sizeof buffer);
    if (count == 0) throw std::runtime_error("the answer ended early: " + pending_);
    pending_.append(buffer, count);
  };
  std::size_t end = 0;
  while ((end = pending_.find("\r\n\r\n")) == std::string::npos) more();
  Answer answer;
  answer.head = pending_.substr(0, end + 2);
  answer.status = std::stoi(answer.head.substr(answer.head.find(' ') + 1));
  const std::size_t size = contentLength(answer.head);
  while (pending_.size() < end + 4 + size) more();
  answer.body = pending_.substr(end + 4, size);
  pending_.erase(0, end + 4 + size);
  return answer;
}

Answer Connection::ask(const std::string& method, const std::string& target, const Headers& headers,
                       const std::string& body) {
  std::string bytes = method + " " + target + " HTTP/1.1\r\nHost: manager\r\n";
  for (const auto& [name, value] : headers) bytes += name + ": " + value + "\r\n";
  if (!body.empty()) bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
  send(bytes + "\r\n" + body);
  return receive();
}

bool Connection::closedByServer() {
  char byte = 0;
  return pending_.empty() && read(&byte, 1) == 0;
}

RestClient::RestClient(std::uint16_t port, std::string certificatePem)
    : port_(port), certificatePem_(std::move(certificatePem)) {}

Answer RestClient::ask(const std::string& method, const std::string& target) const {
  return Connection(port_, certificatePem_)
      .ask(method, target, {{"Accept", kAccept}, {"X-Auth-Token", token_}});
}

Answer RestClient::logIn(const std::string& user, const std::string& password) {
  Answer answer = Connection(port_, certificatePem_)
                      .ask("POST", "/service/session", loginHeaders(user, password));
  const std::string name = "\r\nX-Auth-Token: ";
  const std::size_t at = answer.head.find(name);
  token_.clear();
  if (at != std::string::npos) {
    const std::size_t begin = at + name.size();
    token_ = answer.head.substr(begin, answer.head.find('\r', begin) - begin);
  }
  return answer;
}

bool machineHasIpv6() {
  const int handle = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (handle < 0) return false;
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  const int bound = ::bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  ::close(handle);
  return bound == 0;
}

Headers loginHeaders(const std::string& user, const std::string& password) {
  return {{"Accept", kAccept},
          {"X-Auth-User", user},
          {"X-Auth-Key", sha256Hex(password)},
          {"X-Auth-UserType", "2"}};
}

}  // namespace kestrelvisor::vrmsim::test
