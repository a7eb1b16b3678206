#pragma once

#include <array>
#include <string_view>

// The global operators new and delete of a test binary: receive buffers, the only arrays that the
// engine allocates without an exception, can be made to fail and are counted; freed memory is
// searched for secrets.
namespace kestrelvisor::test {

class WatchedMemory {
 public:
  WatchedMemory();
  ~WatchedMemory();
  WatchedMemory(const WatchedMemory&) = delete;
  WatchedMemory& operator=(const WatchedMemory&) = delete;

  // Fails the nth allocation of a receive buffer from now on, counted from 1.
  void failBuffer(int nth);
  // Fails the next copy into a receive buffer that holds something already.
  void failCopy();
  // Whether such an allocation has failed.
  bool bufferFailed() const;
  // Receive buffers that have not been freed.
  int buffersAlive() const;

  // Searches all memory that is freed from now on for the secrets, whose texts must outlive this.
  void searchFor(const std::array<std::string_view, 3>& secrets);
  // Number of freed blocks that held one.
  int secretsFreed() const;
};

}  // namespace kestrelvisor::test
