#pragma once

#include "rest/clock.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/fake_manager.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <curl/curl.h>

#include <ctime>
#include <string>

namespace kestrelvisor::test {

// The engine's clock, set by a test and put back at its end.
class SetClock {
 public:
  explicit SetClock(std::time_t seconds) : before_(setClock([] { return now_; })) {
    now_ = seconds;
  }
  ~SetClock() { setClock(before_); }
  SetClock(const SetClock&) = delete;
  SetClock& operator=(const SetClock&) = delete;

  void set(std::time_t seconds) { now_ = seconds; }

 private:
  inline static std::time_t now_ = 0;
  Clock before_;
};

// Owns a received body as an exchange would; without a text nothing was received.
class ReceivedBody {
 public:
  explicit ReceivedBody(const char* text) {
    if (text == nullptr) return;
    std::string copy(text);
    KestrelVisor_rest_api::writeMemoryCallback(copy.data(), 1, copy.size(), &chunk_);
  }
  ~ReceivedBody() { delete[] chunk_.memory; }
  ReceivedBody(const ReceivedBody&) = delete;
  ReceivedBody& operator=(const ReceivedBody&) = delete;

  MemoryStruct& chunk() { return chunk_; }

 private:
  MemoryStruct chunk_;
};

// What the engine makes of libcurl's text for a failed transfer.
inline std::string transferText(CURLcode result) {
  return curl_easy_strerror(result) + std::string(".");
}

// One client and one manager on a real socket; the client ends first and so finds the manager.
class RestTest : public ::testing::Test {
 protected:
  // The record as a login sees it, with the plaintext.
  VRM_INFO decrypted() const {
    VRM_INFO plain(vrm);
    plain.clientPassword = std::string(kPassword);
    return plain;
  }
  std::string url(const std::string& path) const {
    return "http://" + manager.address() + ":" + std::to_string(manager.port()) + path;
  }
  std::string host() const {
    return "Host: " + manager.address() + ":" + std::to_string(manager.port());
  }

  LogCapture log;
  FakeManager manager;
  KestrelVisor_rest_api api;
  VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
};

// The texts that a fresh error record holds.
inline constexpr const char* kNoErrorCode = "00000000";
inline constexpr const char* kNoErrorText = "internal error.";

}  // namespace kestrelvisor::test
