#pragma once

#include "platform/reference/logging.h"

#include <cstddef>
#include <optional>
#include <string>

namespace kestrelvisor::ctl {

// What the engine's log tells about an operation and its result does not: the code and the words of
// the last request that failed, and machines that a scan left out.
class LogEvidence {
 public:
  struct Refusal {
    std::string code;  // empty: the manager's answer had none
    std::string text;
  };

  void take(const LogRecord& record);

  // Of the last request that failed. A logout that fails says nothing about the operation, nor does
  // an attempt whose repetition worked.
  const std::optional<Refusal>& refusal() const { return refusal_; }
  // Code of the last login that failed.
  const std::optional<std::string>& loginCode() const { return loginCode_; }
  // Code with which switching off changed-block tracking failed.
  const std::optional<std::string>& cbtCode() const { return cbtCode_; }
  std::size_t machinesLeftOut() const { return machinesLeftOut_; }

 private:
  void settle(const LogRecord& record);

  std::optional<Refusal> latest_;  // of the last attempt; not known yet what it belongs to
  std::optional<Refusal> refusal_;
  std::optional<std::string> loginCode_;
  std::optional<std::string> cbtCode_;
  std::size_t machinesLeftOut_ = 0;
};

}  // namespace kestrelvisor::ctl
