#include "kestrelctl/diagnosis/name_lookup.h"

#include "kestrelctl/manager_address.h"

#include <arpa/inet.h>

#include <array>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

// Shared with a thread that may outlive the wait for it.
struct Answer {
  std::mutex mutex;
  std::condition_variable arrived;
  std::optional<NameLookup> lookup;
};

bool isIpv4(const std::string& host) {
  in_addr bytes{};
  return inet_pton(AF_INET, host.c_str(), &bytes) == 1;
}

void ask(const std::string& host, Answer& answer) {
  NameLookup lookup;
  lookup.addresses = addressesOf(host, lookup.problem);
  const std::lock_guard lock(answer.mutex);
  answer.lookup = std::move(lookup);
  answer.arrived.notify_one();
}

// Signals are for the thread that has been there before.
class AllSignalsHeld {
 public:
  AllSignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~AllSignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  AllSignalsHeld(const AllSignalsHeld&) = delete;
  AllSignalsHeld& operator=(const AllSignalsHeld&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

NameLookup lookUp(const std::string& host, std::chrono::milliseconds limit) {
  NameLookup known;
  known.isAddress = host.front() == '[' || isIpv4(host);
  known.addresses = {host};
  if (known.isAddress) return known;

  const auto answer = std::make_shared<Answer>();
  {
    const AllSignalsHeld held;
    std::thread([host, answer] { ask(host, *answer); }).detach();
  }
  std::unique_lock lock(answer->mutex);
  const bool came =
      answer->arrived.wait_for(lock, limit, [&] { return answer->lookup.has_value(); });
  if (came) return *answer->lookup;
  NameLookup none;
  none.timedOut = true;
  none.problem = "no answer in time";
  return none;
}

}  // namespace kestrelvisor::ctl
