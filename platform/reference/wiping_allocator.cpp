#include "platform/reference/wiping_allocator.h"

#include <curl/curl.h>
#include <malloc.h>
#include <openssl/crypto.h>
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace kestrelvisor {
namespace {

// Whether libcurl has ever come here for memory.
bool servesLibcurl = false;

// What the system says that a block holds: with room that nobody asked for, and without books of
// our own, so that blocks of the time before can be given back here too.
std::size_t sizeOf(void* block) { return block == nullptr ? 0 : malloc_usable_size(block); }

void release(void* block) {
  if (block != nullptr) explicit_bzero(block, sizeOf(block));
  std::free(block);
}

void* resize(void* block, std::size_t size) {
  const std::size_t old = sizeOf(block);
  if (block != nullptr && size != 0 && size <= old) return block;
  void* const moved = size == 0 ? nullptr : std::malloc(size);
  if (moved == nullptr && size != 0) return nullptr;  // the old block stays the caller's
  if (moved != nullptr && old != 0) std::memcpy(moved, block, std::min(old, size));
  release(block);
  return moved;
}

void* allocateForOpenssl(std::size_t size, const char*, int) {
  return size == 0 ? nullptr : std::malloc(size);
}

void* resizeForOpenssl(void* block, std::size_t size, const char*, int) {
  return resize(block, size);
}

void releaseForOpenssl(void* block, const char*, int) { release(block); }

void* allocateForLibcurl(std::size_t size) {
  servesLibcurl = true;
  return std::malloc(size);
}

bool installForOpenssl() {
  return CRYPTO_set_mem_functions(allocateForOpenssl, resizeForOpenssl, releaseForOpenssl) == 1;
}

// libcurl says nothing when it was initialised before and keeps the functions that it had.
bool installForLibcurl() {
  const CURLcode result = curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocateForLibcurl, release,
                                               resize, strdup, std::calloc);
  servesLibcurl = false;
  curl_slist_free_all(curl_slist_append(nullptr, "x"));
  return result == CURLE_OK && servesLibcurl;
}

}  // namespace

bool useWipingAllocators() {
  // OpenSSL first: libcurl initialises it.
  static const bool taken = [] {
    const bool byOpenssl = installForOpenssl();
    return installForLibcurl() && byOpenssl;
  }();
  return taken;
}

}  // namespace kestrelvisor
