#include "vrmsim/sessions.h"

#include "vrmsim/digest.h"

#include <utility>

namespace kestrelvisor::vrmsim {

Sessions::Sessions(std::chrono::milliseconds validity, std::function<TimePoint()> clock)
    : validity_(validity), clock_(std::move(clock)) {}

std::string Sessions::open() {
  std::string token = randomToken();
  endByToken_[token] = clock_() + validity_;
  return token;
}

bool Sessions::isValid(std::string_view token) const {
  const auto session = endByToken_.find(std::string(token));
  return session != endByToken_.end() && clock_() < session->second;
}

bool Sessions::end(std::string_view token) {
  const bool valid = isValid(token);
  endByToken_.erase(std::string(token));
  return valid;
}

void Sessions::expireAll() {
  for (auto& session : endByToken_) session.second = TimePoint::min();
}

void Sessions::forgetAll() { endByToken_.clear(); }

std::size_t Sessions::validCount() const {
  const TimePoint now = clock_();
  std::size_t count = 0;
  for (const auto& session : endByToken_) count += now < session.second ? 1 : 0;
  return count;
}

}  // namespace kestrelvisor::vrmsim
