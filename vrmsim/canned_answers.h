#pragma once

#include "vrmsim/options.h"

#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>

namespace kestrelvisor::vrmsim {

// The answers that stand in for the service's own, each for one request to come. May be used from
// any thread.
class CannedAnswers {
 public:
  // As Simulator::answerOnce tells.
  void add(const std::string& method, const std::string& path, std::uint32_t nth,
           CannedAnswer answer);

  // Counts the request; gives away the answer whose turn it is. Of two due at once the older goes
  // first and the other waits for the next request.
  std::optional<CannedAnswer> take(const HttpRequest& request);

 private:
  struct Entry {
    std::string method;
    std::string path;
    std::uint32_t remaining;
    CannedAnswer answer;
  };

  std::mutex mutex_;
  std::list<Entry> entries_;
};

}  // namespace kestrelvisor::vrmsim
