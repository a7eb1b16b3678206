#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kestrelvisor::test {

// Stands between the engine and libcurl while it lives: every transfer has to carry the timeouts
// and flags that were told, and one that a fault lets wait for its timeout gets there at once. The
// test binary links libcurl's functions through it.
class WatchedTransfers {
 public:
  WatchedTransfers();
  ~WatchedTransfers();
  WatchedTransfers(const WatchedTransfers&) = delete;
  WatchedTransfers& operator=(const WatchedTransfers&) = delete;

  // This many transfers, after as many others, wait for their timeouts. Their time is up shortly
  // after the manager, which strikes tells, has met the fault once more.
  void waitFor(std::size_t others, std::size_t waiting, std::function<std::size_t()> strikes);

  // Of all transfers so far, repeats included.
  const std::vector<CURLcode>& results() const { return results_; }
  // Transfers that did not carry what was told: "transfer 3: option 13 is 0, not 600".
  const std::vector<std::string>& wrongOptions() const { return wrongOptions_; }

  // For the function in libcurl's place.
  CURLcode perform(CURL* curl);

 private:
  void checkOptions(CURL* curl);
  bool waits() const;
  CURLcode performUntilStruck(CURL* curl) const;

  std::size_t others_ = 0;
  std::size_t waiting_ = 0;
  std::function<std::size_t()> strikes_;
  std::vector<CURLcode> results_;
  std::vector<std::string> wrongOptions_;
};

}  // namespace kestrelvisor::test
