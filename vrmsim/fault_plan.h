#pragma once

#include "vrmsim/fault_rule.h"
#include "vrmsim/options.h"
#include "vrmsim/seeded_random.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::vrmsim {

// A rule whose turn it is, and the random numbers of this very hit.
struct FaultHit {
  std::shared_ptr<const FaultRule> rule;
  SeededRandom random;
};

// The rules in force and how often each was met. May be used from any thread.
class FaultPlan {
 public:
  explicit FaultPlan(std::uint64_t seed) : seed_(seed) {}

  void add(FaultRule rule);
  void clear();

  // Counts the request, or the connection when there is none yet, for every rule of that moment,
  // and tells the oldest rule whose turn it is. session is the number of the request's session, 0
  // for none.
  std::optional<FaultHit> next(FaultMoment moment, const HttpRequest& request,
                               std::uint64_t session);

  // In the order in which they came.
  std::vector<FaultCount> counts() const;

 private:
  struct Entry {
    std::shared_ptr<const FaultRule> rule;
    SeededRandom random;
    std::uint64_t seen = 0;
    std::uint64_t hits = 0;
  };

  static bool isDue(Entry& entry);

  const std::uint64_t seed_;
  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
  std::uint64_t added_ = 0;
};

// Whether the text is what the pattern says; "*" stands for any run of characters.
bool globMatches(std::string_view pattern, std::string_view text);

}  // namespace kestrelvisor::vrmsim
