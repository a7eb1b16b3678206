#pragma once

#include "platform/reference/logging.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// Knows from the engine's log how many sessions may be open at the manager: those that the engine
// keeps, and those whose token never arrived or was lost. To be shown every record from
// kLowestLevel on, from before the first login to the end of the process.
class SessionLedger {
 public:
  static constexpr int kLowestLevel = 1;

  void take(const LogRecord& record);

  std::size_t open() const { return known_ + unknown_ + (loggingIn_ ? 1 : 0); }
  // Whether a login has worked, whatever became of its session.
  bool hasLoggedIn() const { return loggedIn_; }
  // Whether the request that is on its way ends a session, as far as the log tells. Not where a
  // login comes right behind it: no line tells the one from the other, and the login may hang.
  bool isLoggingOut() const { return loggingOut_ && !loggingIn_; }

 private:
  void takeSessionLine(std::string_view text);
  void takeLoginLine(std::string_view text);
  void takeExitLine(std::string_view text);
  void takeFailedTransfer(std::string_view text);
  void takeRefusal(std::string_view text);
  void takeFailedRequest(std::string_view text);
  void takeFailedQuery();

  void beginLogin();
  void beginLogout();
  void endLogout(bool ended);

  std::size_t known_ = 0;    // logins that gave a token, without those that were ended
  std::size_t unknown_ = 0;  // logins of which nobody knows, or has, the token

  bool loggedIn_ = false;
  bool loggingIn_ = false;
  bool refused_ = false;       // the login, by the manager
  std::size_t brokenOff_ = 0;  // attempts at it that may have reached the manager
  bool loggingOut_ = false;
  bool cached_ = false;    // the last look into the cache of tokens found one
  bool gone_ = false;      // the manager no longer knows the session of the last query
  bool replaced_ = false;  // and another one has taken its place since
  std::string code_;       // of the last refusal
  std::string url_;        // of the last request that failed
};

}  // namespace kestrelvisor::ctl
