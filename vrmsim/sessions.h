#pragma once

#include "vrmsim/options.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrelvisor::vrmsim {

// The sessions that the manager knows, by token. Not for several threads at once.
class Sessions {
 public:
  // With a seed the tokens are the same each time; without it nobody can guess them.
  Sessions(std::chrono::milliseconds validity, std::function<TimePoint()> clock,
           std::optional<std::uint64_t> seed);

  // Opens a session and returns its token.
  std::string open();

  // Counts a request of the session; false when the token names none that is still valid.
  bool use(std::string_view token);

  // Lets the session expire after so many further uses.
  void limit(std::string_view token, std::uint64_t uses);

  // Which session, counted from 1, had this token; 0: none, or it was ended by its client.
  std::uint64_t numberOf(std::string_view token) const;

  // Ends the session, if there is one.
  void end(std::string_view token);

  void expireAll();
  void forgetAll();
  std::size_t validCount() const;

 private:
  struct Session {
    TimePoint end;
    std::optional<std::uint64_t> usesLeft;  // nothing: no limit
  };

  bool isValid(const Session& session) const { return clock_() < session.end; }

  const std::chrono::milliseconds validity_;
  const std::function<TimePoint()> clock_;
  const std::optional<std::uint64_t> seed_;
  std::uint64_t opened_ = 0;
  std::unordered_map<std::string, Session> sessions_;
  std::unordered_map<std::string, std::uint64_t> numbers_;  // also of sessions that were forgotten
};

}  // namespace kestrelvisor::vrmsim
