#include "bench/scan/libcurl_seam.h"

#include <curl/curl.h>
#include <dlfcn.h>

#include <atomic>
#include <cstdarg>

namespace kestrelvisor::bench {
namespace {

std::atomic<std::uint64_t> transfers = 0;
std::atomic<bool> sharing = true;

template <class Function>
Function* nextInLine(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

using Perform = CURLcode(CURL*);
using SetOption = CURLcode(CURL*, int, ...);

}  // namespace

// Not of libcurl's own type: va_start must not be given a parameter that is promoted.
extern "C" {
CURLcode performInFront(CURL* curl) __asm__("curl_easy_perform");
CURLcode setOptionInFront(CURL* curl, int option, ...) __asm__("curl_easy_setopt");
}

std::uint64_t transfersBegun() { return transfers; }

void forbidSharing() { sharing = false; }

CURLcode performInFront(CURL* curl) {
  static Perform* const perform = nextInLine<Perform>("curl_easy_perform");
  ++transfers;
  return perform(curl);
}

// Numbers and pointers travel in the same registers on all machines that this runs on.
CURLcode setOptionInFront(CURL* curl, int option, ...) {
  static SetOption* const setOption = nextInLine<SetOption>("curl_easy_setopt");
  if (option == CURLOPT_SHARE && !sharing) return CURLE_OK;
  va_list arguments;
  va_start(arguments, option);
  void* const value = va_arg(arguments, void*);
  va_end(arguments);
  return setOption(curl, option, value);
}

}  // namespace kestrelvisor::bench
