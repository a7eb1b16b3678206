#include "kestrelctl/worker/session_ledger.h"

#include "kestrelctl/worker/failed_transfer.h"
#include "platform/reference/platform_tag.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kClass = "KestrelVisor_rest_api::";
constexpr std::string_view kSessionPath = "/service/session";
constexpr std::string_view kSessionGone = "10000002";

// Functions that write while a request is on its way; what any other writes comes behind its end.
constexpr std::array<std::string_view, 5> kWithinRequest{
    "getResponse()", "sendMassage()", "processPerformNotOK()", "processReponseCodeNOK()",
    "getLoginErrorCode()"};

// What stands behind the first occurrence of a mark; empty without it.
std::string_view behindFirst(std::string_view text, std::string_view mark) {
  const std::size_t found = text.find(mark);
  return found == std::string_view::npos ? std::string_view() : text.substr(found + mark.size());
}

// A function's name without the class of the engine's client.
std::string_view shortName(std::string_view function) {
  return function.starts_with(kClass) ? function.substr(kClass.size()) : function;
}

bool isWithinRequest(const LogRecord& record, std::string_view function) {
  const auto* const found = std::find(kWithinRequest.begin(), kWithinRequest.end(), function);
  return found != kWithinRequest.end() || record.tag == kPlatformTag;
}

// After most queries that fail the engine ends the session; after these it keeps it.
bool keepsSession(std::string_view url) {
  return url.find("/datastores?") != std::string_view::npos || url.ends_with("/action/CBTbackup");
}

}  // namespace

void SessionLedger::take(const LogRecord& record) {
  const std::string_view function = shortName(record.function);
  const std::string_view text = record.text;
  const bool failedRequest = function == "sendMessageToVrm()";
  // A logout that works writes no line: it is over with the first line behind it.
  if (loggingOut_ && !failedRequest && !isWithinRequest(record, function)) endLogout(true);

  if (function == "getTokenFromMap()") {
    cached_ = !text.starts_with("get token from map failed");
  } else if (function == "IsKestrelVisorCertTokenValid()") {
    cached_ = true;
    replaced_ = false;  // another query: one that is repeated finds nothing in the cache
  } else if (function == "checkLoginAgainAndCert()") {
    takeSessionLine(text);
  } else if (function == "logIn()") {
    takeLoginLine(text);
  } else if (function == "logOutFromVrm()") {
    takeExitLine(text);
  } else if (function == "processPerformNotOK()") {
    takeFailedTransfer(text);
  } else if (function == "processReponseCodeNOK()") {
    takeRefusal(text);
  } else if (failedRequest) {
    takeFailedRequest(text);
  } else if (function == "sendMessageToVrmRetry()") {
    takeFailedQuery();
  }
}

void SessionLedger::takeSessionLine(std::string_view text) {
  if (text.starts_with("send request to KestrelVisor")) {
    beginLogin();
  } else if (text.starts_with("Success to Login")) {
    ++known_;
    loggedIn_ = true;
    unknown_ += brokenOff_;  // the first attempt, when the second has worked
    loggingIn_ = false;
  }
}

void SessionLedger::beginLogin() {
  if (loggingIn_) ++unknown_;  // an exception has ended the login before
  replaced_ = std::exchange(gone_, false);
  loggingIn_ = true;
  refused_ = false;
  brokenOff_ = 0;
  if (cached_) beginLogout();  // a session that is too old is ended first
}

// Each line of the login itself tells that it has failed.
void SessionLedger::takeLoginLine(std::string_view text) {
  unknown_ += brokenOff_;
  // The manager has said yes, but the role or the token was missing.
  if (text.starts_with("Login failed") && !refused_) ++unknown_;
  loggingIn_ = false;
}

void SessionLedger::takeFailedTransfer(std::string_view text) {
  if (loggingIn_ && mayHaveArrived(text)) ++brokenOff_;
}

void SessionLedger::takeRefusal(std::string_view text) {
  if (loggingIn_) refused_ = true;
  const std::string_view code = behindFirst(text, "error code is ");
  code_ = code.substr(0, code.find('('));
}

// A request other than a login, by its last line.
void SessionLedger::takeFailedRequest(std::string_view text) {
  url_ = behindFirst(text, "url=");
  const bool refused = text.starts_with("Get response failed");
  const bool isGone = refused && code_ == kSessionGone;
  if (url_.ends_with(kSessionPath)) {
    brokenOff_ = 0;
    refused_ = false;
    endLogout(isGone);
  } else if (isGone) {
    gone_ = true;
    known_ -= std::min<std::size_t>(known_, 1);
  }
}

// A query has failed, its repetition included. The session that the engine ends now is the one that
// the query began with: when that was gone, another one stays behind.
void SessionLedger::takeFailedQuery() {
  const bool ownSession = !gone_ && !replaced_;
  gone_ = false;
  replaced_ = false;
  if (ownSession && !keepsSession(url_)) beginLogout();
}

void SessionLedger::takeExitLine(std::string_view text) {
  if (text.starts_with("Enter vrmip")) {
    beginLogout();
  } else if (text.starts_with("Exit vrm")) {
    endLogout(true);
  }
}

void SessionLedger::beginLogout() {
  loggingOut_ = true;
  code_.clear();
}

void SessionLedger::endLogout(bool ended) {
  if (loggingOut_ && ended) known_ -= std::min<std::size_t>(known_, 1);
  loggingOut_ = false;
}

}  // namespace kestrelvisor::ctl
