#include "kestrelctl/worker/channel.h"

#include "kestrelctl/failure.h"
#include "kestrelctl/system_error.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kHeader = 4;
constexpr std::size_t kChunk = std::size_t{1} << 16;
constexpr std::size_t kKeptBuffer = std::size_t{1} << 20;
constexpr unsigned kBitsOfByte = 8;

std::array<char, kHeader> headerOf(std::uint32_t length) {
  std::array<char, kHeader> header{};
  for (auto byte = header.rbegin(); byte != header.rend(); ++byte) {
    *byte = static_cast<char>(length & 0xffU);
    length >>= kBitsOfByte;
  }
  return header;
}

// The length that a header tells.
std::size_t lengthIn(const char* header) {
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < kHeader; ++i) {
    length = (length << kBitsOfByte) | static_cast<unsigned char>(header[i]);
  }
  if (length > Channel::kLargestFrame) throw BrokenChannel("a frame is too long");
  return length;
}

void sendAll(int socket, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t sent = ::send(socket, bytes, count, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0) throw BrokenChannel("nobody takes a frame: " + systemError());
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
}

// Waits for bytes; returns how many came, 0 at the end of the stream. A peer that ended before it
// had read everything ends the stream too.
std::size_t receiveSome(int socket, char* bytes, std::size_t count) {
  ssize_t received = 0;
  do {
    received = ::recv(socket, bytes, count, 0);
  } while (received < 0 && errno == EINTR);
  if (received < 0 && errno == ECONNRESET) return 0;
  if (received < 0) throw BrokenChannel("no frame can be received: " + systemError());
  return static_cast<std::size_t>(received);
}

// Waits for that many bytes; returns fewer when the stream ends before.
std::size_t receiveAll(int socket, char* bytes, std::size_t count) {
  std::size_t received = 0;
  while (received < count) {
    const std::size_t more = receiveSome(socket, bytes + received, count - received);
    if (more == 0) break;
    received += more;
  }
  return received;
}

}  // namespace

void Channel::send(std::string_view frame) {
  if (frame.size() > kLargestFrame) throw BrokenChannel("a frame is too long");
  const auto header = headerOf(static_cast<std::uint32_t>(frame.size()));
  sendAll(end_.get(), header.data(), header.size());
  sendAll(end_.get(), frame.data(), frame.size());
}

bool Channel::fill() {
  const std::size_t before = buffer_.size();
  buffer_.resize(before + kChunk);
  const std::size_t received = receiveSome(end_.get(), buffer_.data() + before, kChunk);
  buffer_.resize(before + received);
  return received > 0;
}

bool Channel::take(std::string& frame) {
  const std::size_t left = buffer_.size() - used_;
  if (left < kHeader) return false;
  const std::size_t length = lengthIn(buffer_.data() + used_);
  if (left - kHeader < length) return false;
  frame.assign(buffer_, used_ + kHeader, length);
  used_ += kHeader + length;
  if (used_ < buffer_.size()) return true;
  used_ = 0;
  buffer_.clear();
  if (buffer_.capacity() > kKeptBuffer) buffer_.shrink_to_fit();
  return true;
}

bool Channel::receive(std::string& frame) {
  while (!take(frame)) {
    if (fill()) continue;
    if (buffer_.size() > used_) throw BrokenChannel("a frame breaks off");
    return false;
  }
  return true;
}

bool Channel::receiveSecret(std::string& secret) {
  if (!buffer_.empty()) throw BrokenChannel("a secret came too early");
  std::array<char, kHeader> header{};
  const std::size_t received = receiveAll(end_.get(), header.data(), header.size());
  if (received == 0) return false;
  if (received < header.size()) throw BrokenChannel("a frame breaks off");
  const std::size_t length = lengthIn(header.data());
  if (length > kChunk) throw BrokenChannel("a secret is too long");
  secret.resize(length);
  if (receiveAll(end_.get(), secret.data(), length) < length) {
    throw BrokenChannel("a frame breaks off");
  }
  return true;
}

std::pair<Channel, Descriptor> makeChannel() {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw Failure(ExitCode::unreadableAnswer, "no channel can be made: " + systemError());
  }
  return {Channel(Descriptor(ends[0])), Descriptor(ends[1])};
}

}  // namespace kestrelvisor::ctl
