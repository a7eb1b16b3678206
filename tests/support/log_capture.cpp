#include "tests/support/log_capture.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::test {

LogCapture::LogCapture()
    : observer_([this](const LogRecord& record) { records_.push_back(record); }) {}

LogCapture::~LogCapture() {
  for (const LogRecord& record : records_) {
    for (const std::string_view secret : {kPassword, kPasswordDigest, kTokenPrefix}) {
      EXPECT_EQ(record.text.find(secret), std::string::npos)
          << "a secret stands in a record of " << record.function << ": " << record.text;
    }
  }
}

std::vector<std::string> LogCapture::texts() const {
  std::vector<std::string> found;
  for (const LogRecord& record : records_) found.push_back(record.text);
  return found;
}

std::vector<std::string> LogCapture::texts(int level) const {
  std::vector<std::string> found;
  for (const LogRecord& record : records_) {
    if (record.level == level) found.push_back(record.text);
  }
  return found;
}

std::vector<LogRecord> LogCapture::withText(std::string_view text) const {
  std::vector<LogRecord> found;
  for (const LogRecord& record : records_) {
    if (record.text == text) found.push_back(record);
  }
  return found;
}

bool LogCapture::has(int level, std::string_view text) const {
  for (const LogRecord& record : withText(text)) {
    if (record.level == level) return true;
  }
  return false;
}

}  // namespace kestrelvisor::test
