#include "vrmsim/fault_plan.h"

#include <algorithm>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

bool anyHeaderMatches(const std::string& pattern, const HttpRequest& request) {
  return std::any_of(request.headers.begin(), request.headers.end(), [&](const Header& header) {
    return globMatches(pattern, header.first + ": " + header.second);
  });
}

bool pathMatches(const std::string& pattern, const std::string& target) {
  const bool whole = pattern.find('?') != std::string::npos;
  const std::string_view text = target;
  return globMatches(pattern, whole ? text : text.substr(0, target.find('?')));
}

bool matches(const FaultMatch& match, const HttpRequest& request, std::uint64_t session) {
  return (match.connection == 0 || match.connection == request.connection) &&
         (match.session == 0 || match.session == session) &&
         (match.method.empty() || match.method == request.method) &&
         (match.path.empty() || pathMatches(match.path, request.target)) &&
         (match.header.empty() || anyHeaderMatches(match.header, request));
}

}  // namespace

bool globMatches(std::string_view pattern, std::string_view text) {
  std::size_t at = 0;
  std::size_t star = std::string_view::npos;  // the last one seen
  std::size_t taken = 0;                      // where the text stands that it is tried with
  std::size_t i = 0;
  while (i < text.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      taken = i;
    } else if (at < pattern.size() && pattern[at] == text[i]) {
      ++at;
      ++i;
    } else if (star != std::string_view::npos) {
      at = star + 1;
      i = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

void FaultPlan::add(FaultRule rule) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const SeededRandom random = SeededRandom(seed_).branch(++added_);
  entries_.push_back({std::make_shared<const FaultRule>(std::move(rule)), random});
}

void FaultPlan::clear() {
  const std::lock_guard<std::mutex> lock(mutex_);
  entries_.clear();
}

// Whether it is the turn of a rule that has just counted. An nth that another rule took is still to
// come.
bool FaultPlan::isDue(Entry& entry) {
  const FaultMatch& match = entry.rule->match;
  if (match.count > 0 && entry.hits >= match.count) return false;
  if (entry.seen <= match.skip) return false;
  const std::uint64_t number = entry.seen - match.skip;
  if (match.nth > 0 && (number < match.nth || entry.hits > 0)) return false;
  if (match.every > 0 && number % match.every != 0) return false;
  if (!match.chance) return true;
  return entry.random.branch(entry.seen).below(100) < *match.chance;
}

std::optional<FaultHit> FaultPlan::next(FaultMoment moment, const HttpRequest& request,
                                        std::uint64_t session) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry* hit = nullptr;
  for (Entry& entry : entries_) {
    if (entry.rule->moment() != moment || !matches(entry.rule->match, request, session)) continue;
    ++entry.seen;
    if (isDue(entry) && hit == nullptr) hit = &entry;
  }
  if (hit == nullptr) return std::nullopt;
  ++hit->hits;
  return FaultHit{hit->rule, hit->random.branch(hit->seen)};
}

std::vector<FaultCount> FaultPlan::counts() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<FaultCount> counts;
  for (const Entry& entry : entries_) {
    counts.push_back({entry.rule->name, entry.rule->text, entry.hits});
  }
  return counts;
}

}  // namespace kestrelvisor::vrmsim
