#pragma once

#include <curl/curl.h>

#include <array>
#include <memory>
#include <new>
#include <string>

namespace kestrelvisor::ctl {

struct CurlListCleanup {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListCleanup>;

inline CurlList listOf(const std::string& line) {
  CurlList list(curl_slist_append(nullptr, line.c_str()));
  if (!list) throw std::bad_alloc();
  return list;
}

// A transfer of kestrelctl's own, beside those of the engine. What options point at must outlive
// it. All options must be taken: one that is refused is taken for want of memory.
class CurlTransfer {
 public:
  CurlTransfer() : handle_(curl_easy_init()) {
    if (!handle_) throw std::bad_alloc();
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_ERRORBUFFER, words_.data());
  }
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  template <class Value>
  void set(CURLoption option, Value value) {
    if (curl_easy_setopt(handle(), option, value) != CURLE_OK) throw std::bad_alloc();
  }

  // Keeps why it failed, if it does.
  CURLcode perform() {
    const CURLcode result = curl_easy_perform(handle());
    const char* const words = words_[0] == '\0' ? curl_easy_strerror(result) : words_.data();
    problem_ = result == CURLE_OK ? "" : words;
    return result;
  }
  const std::string& problem() const { return problem_; }

  template <class Value>
  Value told(CURLINFO info) {
    Value value{};
    curl_easy_getinfo(handle(), info, &value);
    return value;
  }

  CURL* handle() { return handle_.get(); }

 private:
  struct Cleanup {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
  };

  std::array<char, CURL_ERROR_SIZE> words_{};
  std::string problem_;
  std::unique_ptr<CURL, Cleanup> handle_;  // last: it points at words_
};

}  // namespace kestrelvisor::ctl
