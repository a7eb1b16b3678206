#pragma once

#include "vrmsim/options.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrelvisor::vrmsim {

// The sessions that the manager knows, by token. Not for several threads at once.
class Sessions {
 public:
  Sessions(std::chrono::milliseconds validity, std::function<TimePoint()> clock);

  // Opens a session and returns its token.
  std::string open();

  // False when the token names no session that is still valid.
  bool isValid(std::string_view token) const;

  // Ends the session; false as above.
  bool end(std::string_view token);

  void expireAll();
  void forgetAll();
  std::size_t validCount() const;

 private:
  const std::chrono::milliseconds validity_;
  const std::function<TimePoint()> clock_;
  std::unordered_map<std::string, TimePoint> endByToken_;
};

}  // namespace kestrelvisor::vrmsim
