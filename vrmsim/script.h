#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kestrelvisor::vrmsim {

// Bytes to send, over and over until total is reached.
struct Send {
  static constexpr std::uint64_t kForEver = std::numeric_limits<std::uint64_t>::max();

  explicit Send(std::string text) : bytes(std::move(text)), total(bytes.size()) {}
  Send(std::string text, std::uint64_t inAll) : bytes(std::move(text)), total(inAll) {}

  std::string bytes;
  std::uint64_t total;
  std::uint32_t bytesPerSecond = 0;  // 0: as fast as the client takes them
};

// Nothing happens for so long.
struct Pause {
  std::chrono::milliseconds length;
};

using Step = std::variant<Send, Pause>;

// What becomes of the connection when all is sent.
enum class Ending {
  kNextRequest,  // it serves on
  kClose,        // orderly: goodbye by TLS, if any, and the end of the stream
  kCut,          // the end of the stream alone
  kReset,        // the client sees a reset connection
  kSilence,      // it stays open and nothing more comes
};

// What goes out on a connection, from first to last.
struct Script {
  std::vector<Step> steps;
  Ending ending = Ending::kNextRequest;
};

}  // namespace kestrelvisor::vrmsim
