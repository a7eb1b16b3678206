#pragma once

#include "tests/torture/faults/fault_plan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The process's allocators: operator new in all its forms, malloc and its sisters, and those of
// libcurl and OpenSSL. They stand in a shared library of their own, which the loader asks before
// the C++ and the C library, so that every library's allocations come here.
//
// Faults are armed for the calling thread alone; the watch sees every thread.
namespace kestrelvisor::torture {

// Through which door an allocation came.
enum class Door : std::uint8_t { operatorNew, libc, libcurl, openssl };

using Frames = std::array<void*, 48>;

// A chain of return addresses, the innermost first.
struct Stack {
  Frames frames{};
  int depth = 0;

  // The caller's stack. Allocates nothing after the first call of the process.
  static Stack here();
  // Without the innermost frames.
  Stack without(int count) const;
};

// A block that was allocated while the allocator watched, and that nobody has freed.
struct LiveBlock {
  const void* address = nullptr;
  std::size_t size = 0;
  Door door = Door::libc;
  const char* keeper = nullptr;  // the library call in which it was allocated, if that owns it
  const Stack* stack = nullptr;  // null unless stacks are recorded, and for a keeper's
};

// A block that was freed although it had been freed before. The second free has no effect.
struct FreedTwice {
  Stack stack;  // of the second free
  // Whether one and the same library call, of those that own what they allocate, was refused the
  // first allocation and freed the block both times: nobody else had a hand in it.
  bool withinOneCall = false;
};

// While it lives, the calling thread is inside a library call that owns what it allocates. What our
// code allocates when it is called back comes through operator new and stays our code's.
class InsideKeeper {
 public:
  explicit InsideKeeper(const char* name);
  ~InsideKeeper();
  InsideKeeper(const InsideKeeper&) = delete;
  InsideKeeper& operator=(const InsideKeeper&) = delete;

 private:
  const char* before_;
};

class Allocator {
 public:
  // Hands the allocators to OpenSSL, whose first use this must be. False when it comes too late.
  static bool installInOpenssl();
  // Hands them to libcurl and initialises it.
  static bool installInLibcurl();

  // Faults.
  static void arm(const FaultPlan& plan);
  static FaultCount disarm();

  // Watching: remembers each block until it is freed, fills fresh blocks with a pattern, searches
  // freed ones for the secret, whose text must outlive the watch, fills them with another pattern
  // and holds the last ones back.
  static void watch(std::string_view secret, bool recordStacks);
  // Ends the watch and forgets the blocks that are left.
  static void endWatch();
  // Is told of each block that is freed twice during a watch. It must not allocate.
  static void onFreedTwice(void (*tell)(const FreedTwice&));
  // Calls visit with each watched block that lives.
  template <class Visit>
  static void forEachLive(Visit visit) {
    for (std::size_t i = 0; i < kSlots; ++i) {
      if (const LiveBlock* const block = liveAt(i)) visit(*block);
    }
  }
  static std::size_t liveCount();
  // Number of blocks freed with the secret in them, and where the first of them was freed.
  static std::uint64_t secretsFreed();
  static const Stack& firstSecretFreed();
  // Where the first allocation since the last arming was refused.
  static const Stack& firstFault();

 private:
  static constexpr std::size_t kSlots = std::size_t{1} << 18U;
  static const LiveBlock* liveAt(std::size_t slot);
};

}  // namespace kestrelvisor::torture
