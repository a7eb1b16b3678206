#include "tests/torture/faults/allocator.h"

#include <curl/curl.h>
#include <execinfo.h>
#include <malloc.h>
#include <openssl/crypto.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

extern "C" {
// The C library's own allocator under the names that it keeps for those who stand before it.
void* __libc_malloc(std::size_t size);                           // NOLINT
void* __libc_memalign(std::size_t alignment, std::size_t size);  // NOLINT
void __libc_free(void* block);                                   // NOLINT
}

namespace kestrelvisor::torture {
namespace {

constexpr int kFreshPattern = 0xA5;
constexpr int kFreedPattern = 0xDB;
constexpr std::size_t kMostStacks = std::size_t{1} << 18U;

template <class Record>
Record* reserve(std::size_t count) {
  void* const memory = mmap(nullptr, count * sizeof(Record), PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  return static_cast<Record*>(memory);
}

// Blocks by their address. Open addressing with linear probing; a removal moves later entries of
// its run forward.
template <class Record>
class Blocks {
 public:
  void prepare(std::size_t slots) {
    if (slots_ == nullptr) slots_ = reserve<Record>(slots);
    mask_ = slots - 1;
  }

  void insert(const Record& block) {
    if (count_ >= mask_ - mask_ / 4) std::abort();  // no operation holds that much
    std::size_t slot = homeOf(block.address);
    while (slots_[slot].address != nullptr) slot = (slot + 1) & mask_;
    slots_[slot] = block;
    ++count_;
  }

  // Null when it is not there.
  const Record* find(const void* address) const {
    if (count_ == 0) return nullptr;
    std::size_t slot = homeOf(address);
    while (slots_[slot].address != address) {
      if (slots_[slot].address == nullptr) return nullptr;
      slot = (slot + 1) & mask_;
    }
    return &slots_[slot];
  }

  void remove(const void* address) {
    const Record* const block = find(address);
    if (block == nullptr) return;
    closeGap(static_cast<std::size_t>(block - slots_));
    --count_;
  }

  void clear() {
    for (std::size_t slot = 0; count_ != 0; ++slot) {
      if (slots_[slot].address == nullptr) continue;
      slots_[slot] = Record{};
      --count_;
    }
  }

  const Record* at(std::size_t slot) const {
    const bool lives = slots_ != nullptr && slots_[slot].address != nullptr;
    return lives ? &slots_[slot] : nullptr;
  }
  std::size_t count() const { return count_; }

 private:
  std::size_t homeOf(const void* address) const {
    const auto number = reinterpret_cast<std::uintptr_t>(address) >> 4U;
    return (number * 0x9E3779B97F4A7C15U >> 20U) & mask_;
  }

  void closeGap(std::size_t gap) {
    for (std::size_t next = (gap + 1) & mask_; slots_[next].address != nullptr;
         next = (next + 1) & mask_) {
      const std::size_t home = homeOf(slots_[next].address);
      const bool reachesGap = ((next - home) & mask_) >= ((next - gap) & mask_);
      if (!reachesGap) continue;
      slots_[gap] = slots_[next];
      gap = next;
    }
    slots_[gap] = Record{};
  }

  Record* slots_ = nullptr;
  std::size_t mask_ = 0;
  std::size_t count_ = 0;
};

struct FreedBlock {
  const void* address = nullptr;
  std::uint64_t libraryCall = 0;  // in which it was freed; 0: in none
};

// Holds blocks back that were freed last, so that nobody gets their memory and a second free shows.
class FreedBlocks {
 public:
  void prepare() {
    if (order_ == nullptr) order_ = reserve<void*>(kMost);
    blocks_.prepare(2 * kMost);
  }

  const FreedBlock* find(const void* address) const { return blocks_.find(address); }

  void insert(void* block, std::uint64_t libraryCall) {
    void*& oldest = order_[next_];
    next_ = (next_ + 1) % kMost;
    letGo(oldest);
    oldest = block;
    blocks_.insert({block, libraryCall});
  }

  void clear() {
    for (std::size_t i = 0; i < kMost; ++i) letGo(order_[i]);
    next_ = 0;
  }

 private:
  static constexpr std::size_t kMost = std::size_t{1} << 13U;

  void letGo(void*& block) {
    if (block == nullptr) return;
    blocks_.remove(block);
    __libc_free(block);
    block = nullptr;
  }

  Blocks<FreedBlock> blocks_;
  void** order_ = nullptr;
  std::size_t next_ = 0;
};

// Faults are the calling thread's own.
struct Faults {
  FaultCounter counter;
  bool busy = false;  // inside the allocator's own bookkeeping
  const char* keeper = nullptr;
  std::uint64_t libraryCalls = 0;  // of keepers, so far; the last one runs while there is a keeper
  Stack firstFault;
  std::uint64_t callOfFirstFault = 0;

  // The library call that runs; 0: none.
  std::uint64_t libraryCall() const { return keeper == nullptr ? 0 : libraryCalls; }
};
constinit thread_local Faults faults;

// The watch is the process's: a thread of a resolver frees what ours allocated.
struct Watch {
  std::atomic<bool> active = false;
  std::atomic_flag locked;
  Blocks<LiveBlock> live;
  FreedBlocks freed;
  void (*onFreedTwice)(const FreedTwice&) = nullptr;
  std::string_view secret;
  bool recordStacks = false;
  Stack* stacks = nullptr;
  std::size_t stackCount = 0;
  std::uint64_t secretsFreed = 0;
  Stack firstSecretFreed;
};
constinit Watch watch;

// Guards the watch; what is allocated meanwhile is not watched.
class Bookkeeping {
 public:
  Bookkeeping() {
    faults.busy = true;
    while (watch.locked.test_and_set(std::memory_order_acquire)) {
    }
  }
  ~Bookkeeping() {
    watch.locked.clear(std::memory_order_release);
    faults.busy = false;
  }
  Bookkeeping(const Bookkeeping&) = delete;
  Bookkeeping& operator=(const Bookkeeping&) = delete;
};

const Stack* recordStack() {
  if (!watch.recordStacks || watch.stackCount == kMostStacks) return nullptr;
  watch.stacks[watch.stackCount] = Stack::here();
  return &watch.stacks[watch.stackCount++];
}

void watchFresh(Door door, void* block, std::size_t size) {
  if (!watch.active || faults.busy || block == nullptr) return;
  const Bookkeeping guard;
  std::memset(block, kFreshPattern, malloc_usable_size(block));
  const char* const keeper = door == Door::operatorNew ? nullptr : faults.keeper;
  watch.live.insert({block, size, door, keeper, keeper == nullptr ? recordStack() : nullptr});
}

void noteFault() {
  if (faults.firstFault.depth != 0) return;
  const Bookkeeping guard;
  faults.firstFault = Stack::here();
  faults.callOfFirstFault = faults.libraryCall();
}

// Null when the plan says so or memory is out.
void* allocate(Door door, std::size_t alignment, std::size_t size) {
  if (faults.counter.armed() && !faults.busy) {
    if (faults.counter.failsNow()) {
      noteFault();
      errno = ENOMEM;
      return nullptr;
    }
  }
  const bool plain = alignment <= alignof(std::max_align_t);
  void* const block = plain ? __libc_malloc(size) : __libc_memalign(alignment, size);
  watchFresh(door, block, size);
  return block;
}

void* allocate(Door door, std::size_t size) { return allocate(door, 0, size); }

void searchForSecret(const void* block) {
  const std::size_t size = malloc_usable_size(const_cast<void*>(block));
  if (memmem(block, size, watch.secret.data(), watch.secret.size()) == nullptr) return;
  if (watch.secretsFreed++ == 0) watch.firstSecretFreed = Stack::here();
}

void tellFreedTwice(const FreedBlock& before) {
  if (watch.onFreedTwice == nullptr) return;
  const std::uint64_t call = faults.libraryCall();
  const bool withinOneCall =
      call != 0 && before.libraryCall == call && faults.callOfFirstFault == call;
  watch.onFreedTwice({Stack::here(), withinOneCall});
}

void watchFreed(void* block) {
  const Bookkeeping guard;
  if (const FreedBlock* const before = watch.freed.find(block)) return tellFreedTwice(*before);
  watch.live.remove(block);
  searchForSecret(block);
  std::memset(block, kFreedPattern, malloc_usable_size(block));
  watch.freed.insert(block, faults.libraryCall());
}

void release(void* block) {
  if (block == nullptr) return;
  if (watch.active && !faults.busy) return watchFreed(block);
  __libc_free(block);
}

void* allocateZeroed(Door door, std::size_t count, std::size_t size) {
  std::size_t total = 0;
  if (__builtin_mul_overflow(count, size, &total)) return nullptr;
  void* const block = allocate(door, total);
  if (block != nullptr) std::memset(block, 0, total);
  return block;
}

// Always moves, so that what is left behind is searched and stale addresses show.
void* reallocate(Door door, void* block, std::size_t size) {
  if (block == nullptr) return allocate(door, size);
  if (size == 0) {
    release(block);
    return nullptr;
  }
  void* const grown = allocate(door, size);
  if (grown == nullptr) return nullptr;
  std::memcpy(grown, block, std::min(size, malloc_usable_size(block)));
  release(block);
  return grown;
}

char* duplicate(Door door, const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = allocate(door, size);
  if (copy != nullptr) std::memcpy(copy, text, size);
  return static_cast<char*>(copy);
}

void* allocateOrThrow(std::size_t alignment, std::size_t size) {
  void* const block = allocate(Door::operatorNew, alignment, size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

Stack Stack::here() {
  Stack stack;
  stack.depth = backtrace(stack.frames.data(), static_cast<int>(stack.frames.size()));
  return stack;
}

InsideKeeper::InsideKeeper(const char* name) : before_(faults.keeper) {
  if (before_ != nullptr) return;
  faults.keeper = name;
  ++faults.libraryCalls;
}

InsideKeeper::~InsideKeeper() { faults.keeper = before_; }

Stack Stack::without(int count) const {
  Stack rest;
  rest.depth = std::max(depth - count, 0);
  std::copy_n(frames.begin() + count, rest.depth, rest.frames.begin());
  return rest;
}

bool Allocator::installInOpenssl() {
  return CRYPTO_set_mem_functions(
             [](std::size_t size, const char*, int) { return allocate(Door::openssl, size); },
             [](void* block, std::size_t size, const char*, int) {
               return reallocate(Door::openssl, block, size);
             },
             [](void* block, const char*, int) { release(block); }) == 1;
}

bool Allocator::installInLibcurl() {
  return curl_global_init_mem(
             CURL_GLOBAL_DEFAULT, [](std::size_t size) { return allocate(Door::libcurl, size); },
             [](void* block) { release(block); },
             [](void* block, std::size_t size) { return reallocate(Door::libcurl, block, size); },
             [](const char* text) { return duplicate(Door::libcurl, text); },
             [](std::size_t count, std::size_t size) {
               return allocateZeroed(Door::libcurl, count, size);
             }) == CURLE_OK;
}

void Allocator::arm(const FaultPlan& plan) {
  faults.firstFault.depth = 0;
  faults.callOfFirstFault = 0;
  faults.counter.arm(plan);
}

FaultCount Allocator::disarm() { return faults.counter.disarm(); }

void Allocator::watch(std::string_view secret, bool recordStacks) {
  using torture::watch;
  Stack::here();  // the first one loads the unwinder
  watch.live.prepare(kSlots);
  watch.freed.prepare();
  if (recordStacks && watch.stacks == nullptr) watch.stacks = reserve<Stack>(kMostStacks);
  watch.secret = secret;
  watch.recordStacks = recordStacks;
  watch.stackCount = 0;
  watch.secretsFreed = 0;
  watch.active = true;
}

void Allocator::endWatch() {
  torture::watch.active = false;
  const Bookkeeping guard;
  torture::watch.live.clear();
  torture::watch.freed.clear();
}

void Allocator::onFreedTwice(void (*tell)(const FreedTwice&)) {
  torture::watch.onFreedTwice = tell;
}

const LiveBlock* Allocator::liveAt(std::size_t slot) { return torture::watch.live.at(slot); }

std::size_t Allocator::liveCount() { return torture::watch.live.count(); }

std::uint64_t Allocator::secretsFreed() { return torture::watch.secretsFreed; }

const Stack& Allocator::firstSecretFreed() { return torture::watch.firstSecretFreed; }

const Stack& Allocator::firstFault() { return faults.firstFault; }

}  // namespace kestrelvisor::torture

using kestrelvisor::torture::allocate;
using kestrelvisor::torture::allocateOrThrow;
using kestrelvisor::torture::Door;
using kestrelvisor::torture::release;

extern "C" {

void* malloc(std::size_t size) noexcept { return allocate(Door::libc, size); }
void free(void* block) noexcept { release(block); }
void* calloc(std::size_t count, std::size_t size) noexcept {
  return kestrelvisor::torture::allocateZeroed(Door::libc, count, size);
}
void* realloc(void* block, std::size_t size) noexcept {
  return kestrelvisor::torture::reallocate(Door::libc, block, size);
}
void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return allocate(Door::libc, alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return allocate(Door::libc, alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  *block = allocate(Door::libc, alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

}  // extern "C"

void* operator new(std::size_t size) { return allocateOrThrow(0, size); }
void* operator new[](std::size_t size) { return allocateOrThrow(0, size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(Door::operatorNew, size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(Door::operatorNew, size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(static_cast<std::size_t>(alignment), size);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(static_cast<std::size_t>(alignment), size);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(Door::operatorNew, static_cast<std::size_t>(alignment), size);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(Door::operatorNew, static_cast<std::size_t>(alignment), size);
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  release(block);
}
