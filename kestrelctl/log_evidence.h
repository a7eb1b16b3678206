#pragma once

#include "platform/reference/logging.h"

#include <optional>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// What the engine's log tells about an operation and its result does not: the code and the words of
// the last request that failed, a certificate that should not have passed.
class LogEvidence {
 public:
  struct Refusal {
    std::string code;  // empty: the manager's answer had none
    std::string text;
  };

  static constexpr int kLowestLevel = 3;  // records below tell it nothing

  void take(const LogRecord& record);

  // Of the last request that failed. A logout that fails says nothing about the operation, nor does
  // an attempt whose repetition worked.
  const std::optional<Refusal>& refusal() const { return refusal_; }
  // What spoke against the URL of the last request that the platform did not let out.
  const std::optional<std::string>& refusedUrl() const { return refusedUrl_; }
  // Code of the last login that failed.
  const std::optional<std::string>& loginCode() const { return loginCode_; }
  // Code with which switching off changed-block tracking failed.
  const std::optional<std::string>& cbtCode() const { return cbtCode_; }
  // Why a certificate was refused that then passed all the same.
  const std::optional<std::string>& passedCertificate() const { return passedCertificate_; }

 private:
  void settle(const LogRecord& record);
  void takeWarning(std::string_view text);

  std::optional<Refusal> latest_;  // of the last attempt; not known yet what it belongs to
  std::optional<Refusal> refusal_;
  std::optional<std::string> refusedUrl_;
  std::optional<std::string> loginCode_;
  std::optional<std::string> cbtCode_;
  std::optional<std::string> passedCertificate_;
};

}  // namespace kestrelvisor::ctl
