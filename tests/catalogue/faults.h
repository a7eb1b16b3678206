#pragma once

#include "platform/reference/logging.h"

#include <curl/curl.h>

#include <cstddef>
#include <string>

namespace kestrelvisor::test {

// While it lives libcurl makes no handle.
class NoCurlHandles {
 public:
  NoCurlHandles();
  ~NoCurlHandles();
  NoCurlHandles(const NoCurlHandles&) = delete;
  NoCurlHandles& operator=(const NoCurlHandles&) = delete;
};

// While it lives libcurl has no memory for a header.
class NoCurlHeaders {
 public:
  NoCurlHeaders();
  ~NoCurlHeaders();
  NoCurlHeaders(const NoCurlHeaders&) = delete;
  NoCurlHeaders& operator=(const NoCurlHeaders&) = delete;
};

// The next transfer ends with this result, unsent.
void failNextTransfer(CURLcode result);

// The next record of a size, together with what a shared pointer adds, finds no memory.
void failNextRecord(std::size_t size);

// The same from the moment on when the engine has written a text.
class NoMemoryAfterLine {
 public:
  NoMemoryAfterLine(std::string text, std::size_t size);

 private:
  LogObserver observer_;
};

}  // namespace kestrelvisor::test
