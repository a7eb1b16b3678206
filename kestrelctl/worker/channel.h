#pragma once

#include "kestrelctl/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace kestrelvisor::ctl {

// Thrown when the other side has gone before it was to go, or says what cannot be read.
struct BrokenChannel : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// One end of a stream of frames, each a length of four bytes, the highest first, and as many bytes.
class Channel {
 public:
  // Protobuf takes no longer message.
  static constexpr std::uint32_t kLargestFrame = 0x7fffffff;

  Channel() = default;
  explicit Channel(Descriptor end) : end_(std::move(end)) {}

  int descriptor() const { return end_.get(); }

  // Hands a frame over without a copy of its own. Throws BrokenChannel.
  void send(std::string_view frame);

  // Waits for bytes and takes in what is there; false at the end of the stream.
  bool fill();
  // The next frame among what was taken in; false when it is not whole yet. Throws BrokenChannel.
  bool take(std::string& frame);

  // Waits for a frame; false when the stream ends instead. Throws BrokenChannel when it ends within
  // the frame.
  bool receive(std::string& frame);
  // Likewise for a frame of which no copy stays: it goes straight to secret, which the caller
  // wipes. Nothing may have been taken in before it.
  bool receiveSecret(std::string& secret);

 private:
  Descriptor end_;
  std::string buffer_;
  std::size_t used_ = 0;  // of buffer_, by frames that have been taken
};

// Makes two ends that are joined, both closed by exec. Throws a Failure.
std::pair<Channel, Descriptor> makeChannel();

}  // namespace kestrelvisor::ctl
