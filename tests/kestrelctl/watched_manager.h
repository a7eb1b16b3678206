#pragma once

#include "tests/kestrelctl/fixture.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

namespace kestrelvisor::ctl::test {

inline constexpr const char* kClusters = "GET clusters";
inline constexpr const char* kSites = "GET sites";
inline constexpr const char* kLogin = "POST session";
inline constexpr const char* kLogout = "DELETE session";
inline constexpr const char* kChange = "DELETE CBTbackup";

// Counts requests by method and last part of the path, so that a test can wait for one.
class Arrivals {
 public:
  void note(const vrmsim::RecordedRequest& request) {
    const std::string path = request.target.substr(0, request.target.find('?'));
    const std::lock_guard lock(mutex_);
    ++counts_[request.method + " " + path.substr(path.rfind('/') + 1)];
    changed_.notify_all();
  }

  void forget() {
    const std::lock_guard lock(mutex_);
    counts_.clear();
  }

  bool has(const std::string& request) {
    const std::lock_guard lock(mutex_);
    return counts_[request] > 0;
  }

  // False when it does not come.
  bool waitFor(const std::string& request) {
    constexpr std::chrono::seconds kLongest(60);
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLongest, [&] { return counts_[request] > 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::string, int> counts_;
};

// A manager that tells which requests have come.
class WatchedManagerTest : public ManagerTest {
 protected:
  explicit WatchedManagerTest(SimulatorOptions options = managerOptions())
      : WatchedManagerTest(std::make_shared<Arrivals>(), std::move(options)) {}

  const std::shared_ptr<Arrivals> arrivals;

 private:
  WatchedManagerTest(std::shared_ptr<Arrivals> seen, SimulatorOptions options)
      : ManagerTest(watched(std::move(options), seen)), arrivals(std::move(seen)) {}

  static SimulatorOptions watched(SimulatorOptions options, std::shared_ptr<Arrivals> seen) {
    options.onRequest = [seen = std::move(seen)](const auto& request) { seen->note(request); };
    return options;
  }
};

}  // namespace kestrelvisor::ctl::test
