// Faults that no manager can cause. The linker leads the engine's calls here.

#include "tests/catalogue/faults.h"

#include "tests/support/test_headers.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

// What boost::make_shared puts beside a record is smaller.
constexpr std::size_t kSharedOverhead = 48;

bool noHandles = false;
bool noHeaders = false;
CURLcode nextTransfer = CURLE_OK;
thread_local std::size_t failingSize = 0;  // 0: none; only the thread that set it is hit

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
CURL* __real_curl_easy_init();
curl_slist* __real_curl_slist_append(curl_slist* list, const char* text);
CURLcode __real_curl_easy_perform(CURL* curl);

CURL* __wrap_curl_easy_init() { return noHandles ? nullptr : __real_curl_easy_init(); }

curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* text) {
  return noHeaders ? nullptr : __real_curl_slist_append(list, text);
}

CURLcode __wrap_curl_easy_perform(CURL* curl) {
  const CURLcode result = std::exchange(nextTransfer, CURLE_OK);
  return result != CURLE_OK ? result : __real_curl_easy_perform(curl);
}
}
// NOLINTEND(bugprone-reserved-identifier)

// Not inlined: where GCC sees only one of a pair it takes it for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (failingSize != 0 && size >= failingSize && size <= failingSize + kSharedOverhead) {
    failingSize = 0;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

// Sanitizers would otherwise bring one of their own, which the operators below do not fit.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace kestrelvisor::test {

NoCurlHandles::NoCurlHandles() { noHandles = true; }

NoCurlHandles::~NoCurlHandles() { noHandles = false; }

NoCurlHeaders::NoCurlHeaders() { noHeaders = true; }

NoCurlHeaders::~NoCurlHeaders() { noHeaders = false; }

void failNextTransfer(CURLcode result) { nextTransfer = result; }

void failNextRecord(std::size_t size) { failingSize = size; }

NoMemoryAfterLine::NoMemoryAfterLine(std::string text, std::size_t size)
    : observer_([text = std::move(text), size](const LogRecord& record) {
        if (record.text == text) failNextRecord(size);
      }) {}

}  // namespace kestrelvisor::test
