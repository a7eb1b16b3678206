#include "tests/rest/watched_memory.h"

#include <malloc.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr std::size_t kMostBuffers = 64;

// Plain data: these operators run before and after every other object.
struct Watch {
  bool active = false;
  int failIn = 0;
  bool failed = false;
  bool copyFails = false;
  std::array<void*, kMostBuffers> buffers{};
  bool searching = false;
  std::array<std::string_view, 3> secrets{};
  int secretsFreed = 0;
};
constinit Watch watch;

void* allocate(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* allocateBuffer(std::size_t size) {
  if (watch.failIn > 0 && --watch.failIn == 0) {
    watch.failed = true;
    return nullptr;
  }
  void* const memory = std::malloc(size);
  for (void*& slot : watch.buffers) {
    if (!watch.active || slot != nullptr) continue;
    slot = memory;
    break;
  }
  return memory;
}

bool holdsSecret(const void* memory) {
  const std::size_t size = malloc_usable_size(const_cast<void*>(memory));
  for (const std::string_view secret : watch.secrets) {
    if (memmem(memory, size, secret.data(), secret.size()) != nullptr) return true;
  }
  return false;
}

void release(void* memory) noexcept {
  if (memory == nullptr) return;
  for (void*& slot : watch.buffers) {
    if (slot == memory) slot = nullptr;
  }
  if (watch.searching && holdsSecret(memory)) ++watch.secretsFreed;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateBuffer(size);
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }

// memcpy_s by its names in the binary: the platform's, and the one that stands in front of it.
extern "C" int __real__Z8memcpy_sPvmPKvm(void* target, std::size_t targetSize, const void* source,
                                         std::size_t count);
extern "C" int __wrap__Z8memcpy_sPvmPKvm(void* target, std::size_t targetSize, const void* source,
                                         std::size_t count) {
  if (std::exchange(watch.copyFails, false)) return EINVAL;
  return __real__Z8memcpy_sPvmPKvm(target, targetSize, source, count);
}

namespace kestrelvisor::test {

WatchedMemory::WatchedMemory() {
  watch = Watch{};
  watch.active = true;
}

WatchedMemory::~WatchedMemory() { watch = Watch{}; }

void WatchedMemory::failBuffer(int nth) {
  watch.failIn = nth;
  watch.failed = false;
}

void WatchedMemory::failCopy() { watch.copyFails = true; }

bool WatchedMemory::bufferFailed() const { return watch.failed; }

int WatchedMemory::buffersAlive() const {
  int alive = 0;
  for (const void* slot : watch.buffers) alive += slot != nullptr ? 1 : 0;
  return alive;
}

void WatchedMemory::searchFor(const std::array<std::string_view, 3>& secrets) {
  watch.secretsFreed = 0;
  watch.secrets = secrets;
  watch.searching = true;
}

int WatchedMemory::secretsFreed() const { return watch.secretsFreed; }

}  // namespace kestrelvisor::test
