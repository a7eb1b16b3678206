// Stands between the engine and libcurl where a transfer's limits are told: after a refused
// allocation, libcurl may wait for a peer that has nothing to say until they end it. They have to
// be the engine's; libcurl gets shorter ones, which end a wait well before a point counts as
// hanging.

#include "tests/torture/faults/next_function.h"

#include <curl/curl.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace kestrelvisor::torture {
namespace {

struct TimeLimit {
  CURLoption told;
  long seconds;
  CURLoption handedOn;
  long milliseconds;
};

constexpr std::array<TimeLimit, 2> kTimeLimits{{
    {CURLOPT_CONNECTTIMEOUT, 10, CURLOPT_CONNECTTIMEOUT_MS, 2000},
    {CURLOPT_TIMEOUT, 600, CURLOPT_TIMEOUT_MS, 6000},
}};

const auto nextSetOption = nextOf<decltype(curl_easy_setopt)>("curl_easy_setopt");

[[noreturn]] void refuse(const TimeLimit& limit, long seconds) {
  std::fprintf(stderr, "option %d is %ld seconds, not %ld\n", static_cast<int>(limit.told), seconds,
               limit.seconds);
  std::abort();
}

}  // namespace

// Every option takes a long or a pointer, which go the same way.
__attribute__((visibility("default"))) CURLcode setOption(CURL* handle, CURLoption option,
                                                          void* value) __asm__("curl_easy_setopt");

CURLcode setOption(CURL* handle, CURLoption option, void* value) {
  for (const TimeLimit& limit : kTimeLimits) {
    if (option != limit.told) continue;
    const long seconds = reinterpret_cast<long>(value);
    if (seconds != limit.seconds) refuse(limit, seconds);
    return nextSetOption(handle, limit.handedOn, limit.milliseconds);
  }
  return nextSetOption(handle, option, value);
}

}  // namespace kestrelvisor::torture
