#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <string_view>

// Stands between the engine and libcurl: each transfer is answered from a text, without a socket.
// Binaries that use it link libcurl's functions through it.
namespace kestrelvisor::fuzz {

// One answer of the text.
struct Answer {
  CURLcode result = CURLE_OK;
  long status = 200;
  std::string_view head;  // status line and header lines, with their ends; may be empty
  std::string_view body;
};

// What a text tells the manager to answer, in order. Answers are separated by lines "----":
//
//   {"sites":[]}                            a body; its status is 200
//   HTTP/1.1 404 Not Found, then headers, an empty line and a body
//   !28, then a body                        the transfer fails with libcurl's result 28 behind it
//
// When all are used up the last one is given again, but a manager that was asked as often as
// told goes away: transfers then fail. Sessions are opened and closed without use of the text
// unless it is told that the text answers them. One may live at a time.
class ScriptedManager {
 public:
  enum class Sessions { granted, scripted };

  explicit ScriptedManager(std::string_view text, Sessions sessions = Sessions::granted,
                           int transfersUntilGone = 8);
  ~ScriptedManager();
  ScriptedManager(const ScriptedManager&) = delete;
  ScriptedManager& operator=(const ScriptedManager&) = delete;

  // The answer to a transfer to the session path, or to any other.
  Answer next(bool session, bool opensSession);
  // Transfers that were answered from the text.
  int transfers() const { return transfers_; }

 private:
  Answer take();

  std::string_view rest_;
  Answer last_;
  Sessions sessions_;
  int transfersUntilGone_;
  int transfers_ = 0;
};

}  // namespace kestrelvisor::fuzz
