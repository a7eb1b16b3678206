#include "kestrelctl/worker/change_ledger.h"

#include "kestrelctl/worker/failed_transfer.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kAction = "/action/CBTbackup";

// Write when the manager has answered, with or without a text.
constexpr std::array<std::string_view, 3> kAnswered{"KestrelVisor_rest_api::getResponse()",
                                                    "KestrelVisor_rest_api::sendMessageToVrm()",
                                                    "KestrelVisor_rest_api::disableVmCbt()"};

}  // namespace

void ChangeLedger::take(const LogRecord& record) {
  const std::string_view function = record.function;
  const std::string_view text = record.text;
  if (function == "KestrelVisor_rest_api::setCurlUrl()") {
    if (text.ends_with(kAction)) isOnItsWay_ = true;
  } else if (!isOnItsWay_) {
    return;
  } else if (function == "KestrelVisor_rest_api::processPerformNotOK()") {
    mayHaveArrived_ = mayHaveArrived_ || mayHaveArrived(text);
  } else if (text.starts_with("Send mssage to VRM failed")) {
    isOnItsWay_ = false;
  } else if (std::find(kAnswered.begin(), kAnswered.end(), function) != kAnswered.end()) {
    isOnItsWay_ = mayHaveArrived_ = false;
  }
}

}  // namespace kestrelvisor::ctl
