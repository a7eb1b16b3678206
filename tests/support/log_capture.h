#pragma once

#include "platform/reference/logging.h"

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::test {

// What no record may ever hold: the password and the tokens that the fake manager deals with.
inline constexpr std::string_view kPassword = "Correct-Horse-Battery-7";
inline constexpr std::string_view kPasswordDigest =
    "f3594d4a3ac969d9215b3450b5080c44a8a58cb4ae5ba5659bbc89f8045c06b6";
inline constexpr std::string_view kTokenPrefix = "fake-session-token-";

// Collects every log record while it lives, whatever the threshold. A record that holds a known
// secret fails the test.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<LogRecord>& records() const { return records_; }
  // Texts of all records, or of those of one level.
  std::vector<std::string> texts() const;
  std::vector<std::string> texts(int level) const;
  // Records with exactly this text.
  std::vector<LogRecord> withText(std::string_view text) const;
  bool has(int level, std::string_view text) const;
  void clear() { records_.clear(); }

 private:
  std::vector<LogRecord> records_;
  LogObserver observer_;
};

}  // namespace kestrelvisor::test
