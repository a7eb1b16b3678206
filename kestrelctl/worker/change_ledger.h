#pragma once

#include "platform/reference/logging.h"

namespace kestrelvisor::ctl {

// Knows from the engine's log whether the manager may have switched changed-block tracking off
// without anybody knowing: the request is on its way, or its answer never came. To be shown every
// record from kLowestLevel on, from before the request.
class ChangeLedger {
 public:
  static constexpr int kLowestLevel = 0;

  void take(const LogRecord& record);

  bool isOutcomeUnknown() const { return isOnItsWay_ || mayHaveArrived_; }

 private:
  bool isOnItsWay_ = false;
  bool mayHaveArrived_ = false;  // with an attempt that failed
};

}  // namespace kestrelvisor::ctl
