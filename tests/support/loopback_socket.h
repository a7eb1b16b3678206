#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kestrelvisor::test {

// Owns one file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  int fd_;
};

// Listens on a loopback address, on a port from the kernel. Throws std::runtime_error.
class Listener {
 public:
  explicit Listener(const std::string& address);

  int get() const { return socket_.get(); }
  std::uint16_t port() const { return port_; }
  Descriptor accept() const;

 private:
  Descriptor socket_;
  std::uint16_t port_ = 0;
};

// A port of a loopback address on which nobody listens.
std::uint16_t unusedPort(const std::string& address);

// Sends all of the bytes; what a peer that has gone away misses is dropped.
void sendAll(int socket, std::string_view bytes);

// Reads until a whole HTTP request stands in the text, or the peer ends. False when it ended early.
bool readRequest(int socket, std::string& text);

// Closes a connection with a reset instead of an orderly end.
void resetOnClose(int socket);

}  // namespace kestrelvisor::test
