#include "tests/support/loopback_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

sockaddr_in socketAddress(const std::string& address) {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1) {
    throw std::runtime_error("not a loopback address: " + address);
  }
  return result;
}

std::uint16_t boundPort(int socket) {
  sockaddr_in bound{};
  socklen_t size = sizeof bound;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&bound), &size) != 0) {
    throw std::runtime_error("the port of a socket could not be read");
  }
  return ntohs(bound.sin_port);
}

Descriptor boundSocket(const std::string& address) {
  Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in wanted = socketAddress(address);
  if (bind(socket.get(), reinterpret_cast<const sockaddr*>(&wanted), sizeof wanted) != 0) {
    throw std::runtime_error("cannot bind to " + address);
  }
  return socket;
}

// Bytes that the header block announces behind it.
std::size_t contentLength(std::string_view head) {
  constexpr std::string_view kName = "content-length:";
  for (std::size_t at = 0; at != std::string_view::npos && at < head.size();) {
    const std::string_view line = head.substr(at, head.find("\r\n", at) - at);
    if (line.size() > kName.size() && strncasecmp(line.data(), kName.data(), kName.size()) == 0) {
      return std::strtoul(line.data() + kName.size(), nullptr, 10);
    }
    const std::size_t end = head.find("\r\n", at);
    at = end == std::string_view::npos ? end : end + 2;
  }
  return 0;
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) close(fd_);
}

Listener::Listener(const std::string& address) : socket_(boundSocket(address)) {
  if (listen(socket_.get(), SOMAXCONN) != 0) throw std::runtime_error("cannot listen");
  port_ = boundPort(socket_.get());
}

Descriptor Listener::accept() const {
  return Descriptor(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

std::uint16_t unusedPort(const std::string& address) {
  return boundPort(boundSocket(address).get());
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

bool readRequest(int socket, std::string& text) {
  std::array<char, 4096> buffer;
  for (;;) {
    const std::size_t head = text.find("\r\n\r\n");
    if (head != std::string::npos) {
      const std::size_t size = head + 4 + contentLength(std::string_view(text).substr(0, head));
      if (text.size() >= size) return true;
    }
    const ssize_t received = recv(socket, buffer.data(), buffer.size(), 0);
    if (received <= 0) return false;
    text.append(buffer.data(), static_cast<std::size_t>(received));
  }
}

void resetOnClose(int socket) {
  const linger reset{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

}  // namespace kestrelvisor::test
