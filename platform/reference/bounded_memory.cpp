#include "platform/contract/bounded_memory.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

int memcpy_s(void* target, std::size_t targetSize, const void* source, std::size_t count) {
  if (target == nullptr || source == nullptr) return EINVAL;
  if (count > targetSize) return ERANGE;
  std::memmove(target, source, count);
  return 0;
}

int memset_s(void* target, std::size_t targetSize, int value, std::size_t count) {
  if (target == nullptr) return EINVAL;
  if (count > targetSize) return ERANGE;
  std::memset(target, value, count);
  // The memory counts as read here, so not even link-time optimisation may drop the stores.
  __asm__ __volatile__("" : : "r"(target) : "memory");
  return 0;
}

int snprintf_s(char* target, std::size_t targetSize, std::size_t count, const char* format, ...) {
  if (target == nullptr || targetSize == 0) return -1;
  target[0] = '\0';
  if (format == nullptr) return -1;

  const std::size_t limit = std::min(count, targetSize - 1);
  va_list arguments;
  va_start(arguments, format);
  const int written = std::vsnprintf(target, limit + 1, format, arguments);
  va_end(arguments);
  if (written >= 0 && static_cast<std::size_t>(written) <= limit) return written;
  target[0] = '\0';
  return -1;
}
