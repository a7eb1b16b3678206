#include "kestrelctl/log_evidence.h"

#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr int kWarningLevel = LogEvidence::kLowestLevel;
constexpr int kErrorLevel = 4;
constexpr std::string_view kRefusedUrlMark = "Request refused: its URL ";
constexpr std::string_view kRefusedUrlEnd = ". ";

// What stands behind the last occurrence of a mark.
std::optional<std::string> behindLast(std::string_view text, std::string_view mark) {
  const std::size_t found = text.rfind(mark);
  if (found == std::string_view::npos) return std::nullopt;
  return std::string(text.substr(found + mark.size()));
}

// Reads "Invoke getResponse failed, the error code is 10000004(Database failure)". The first mark
// counts: what the manager says may hold anything.
std::optional<LogEvidence::Refusal> readRefusal(std::string_view text) {
  constexpr std::string_view kMark = "error code is ";
  if (!text.starts_with("Invoke ") || !text.ends_with(")")) return std::nullopt;
  const std::size_t mark = text.find(kMark);
  if (mark == std::string_view::npos) return std::nullopt;
  text.remove_prefix(mark + kMark.size());
  const std::size_t open = text.find('(');
  if (open == std::string_view::npos) return std::nullopt;
  return LogEvidence::Refusal{std::string(text.substr(0, open)),
                              std::string(text.substr(open + 1, text.size() - open - 2))};
}

// A request that failed is told behind its attempts, with its URL.
bool endsRequest(std::string_view text) {
  return text.find(" failed, url=") != std::string_view::npos;
}

// A login is told by another function.
bool isLogout(const LogRecord& record) {
  return record.function.ends_with("::sendMessageToVrm()") &&
         record.text.ends_with("/service/session");
}

}  // namespace

void LogEvidence::settle(const LogRecord& record) {
  if (latest_ && !isLogout(record)) refusal_ = std::move(latest_);
  latest_.reset();
}

void LogEvidence::takeWarning(std::string_view text) {
  constexpr std::string_view kPassed = "peer cert check failed: ";
  if (text.starts_with(kPassed)) passedCertificate_ = text.substr(kPassed.size());
}

void LogEvidence::take(const LogRecord& record) {
  std::string_view text = record.text;
  if (record.level == kWarningLevel) return takeWarning(text);
  if (record.level != kErrorLevel) return;
  if (auto refusal = readRefusal(text)) {
    latest_ = std::move(refusal);
  } else if (endsRequest(text)) {
    settle(record);
  } else if (text.starts_with(kRefusedUrlMark)) {
    text.remove_prefix(kRefusedUrlMark.size());
    refusedUrl_ = text.substr(0, text.find(kRefusedUrlEnd));
  } else if (text.starts_with("checkLoginAgainAndCert: logIn is failed")) {
    loginCode_ = behindLast(text, "reason is ");
  } else if (text.starts_with("Failed to disable the CBT for VM")) {
    cbtCode_ = behindLast(text, "error code: ");
  }
}

}  // namespace kestrelvisor::ctl
