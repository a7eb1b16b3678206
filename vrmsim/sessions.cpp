#include "vrmsim/sessions.h"

#include "vrmsim/digest.h"

#include <algorithm>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

constexpr std::size_t kTokenSize = 48;

}  // namespace

Sessions::Sessions(std::chrono::milliseconds validity, std::function<TimePoint()> clock,
                   std::optional<std::uint64_t> seed)
    : validity_(validity), clock_(std::move(clock)), seed_(seed) {}

std::string Sessions::open() {
  ++opened_;
  const std::string origin =
      seed_ ? "session " + std::to_string(opened_) + " of seed " + std::to_string(*seed_) : "";
  std::string token = seed_ ? sha256Hex(origin).substr(0, kTokenSize) : randomToken();
  sessions_[token] = {clock_() + validity_, std::nullopt};
  numbers_[token] = opened_;
  return token;
}

bool Sessions::use(std::string_view token) {
  const auto found = sessions_.find(std::string(token));
  if (found == sessions_.end() || !isValid(found->second)) return false;
  Session& session = found->second;
  if (!session.usesLeft) return true;
  if (*session.usesLeft == 0) {
    session.end = TimePoint::min();
    return false;
  }
  --*session.usesLeft;
  return true;
}

void Sessions::limit(std::string_view token, std::uint64_t uses) {
  const auto found = sessions_.find(std::string(token));
  if (found != sessions_.end()) found->second.usesLeft = uses;
}

std::uint64_t Sessions::numberOf(std::string_view token) const {
  const auto found = numbers_.find(std::string(token));
  return found == numbers_.end() ? 0 : found->second;
}

void Sessions::end(std::string_view token) {
  sessions_.erase(std::string(token));
  numbers_.erase(std::string(token));
}

void Sessions::expireAll() {
  for (auto& [token, session] : sessions_) session.end = TimePoint::min();
}

void Sessions::forgetAll() { sessions_.clear(); }

std::size_t Sessions::validCount() const {
  return static_cast<std::size_t>(
      std::count_if(sessions_.begin(), sessions_.end(),
                    [this](const auto& entry) { return isValid(entry.second); }));
}

}  // namespace kestrelvisor::vrmsim
