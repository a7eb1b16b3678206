#pragma once

#include "platform/reference/logging.h"

namespace kestrelvisor::test {

// Keeps records that a test provokes off its standard error. Observers still see them.
class QuietLog {
 public:
  QuietLog() { setThreshold(5); }
  ~QuietLog() { setThreshold(kDefaultLogThreshold); }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

 private:
  static void setThreshold(int threshold) {
    LogOptions options;
    options.threshold = threshold;
    std::string problem;
    configureLogging(options, problem);  // standard error can always be opened
  }
};

}  // namespace kestrelvisor::test
