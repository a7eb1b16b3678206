#include "kestrelctl/commands/live_scan.h"

#include "kestrelctl/watch/progress_display.h"

namespace kestrelvisor::ctl {

OperationResult scanWithProgress(const OperationRequest& request) {
  const auto manner = mannerOnTalk(request.progress, request.log.goesToTalk());
  ProgressDisplay display(manner, surfaceOfTalk());
  return perform(request, [&](const ScanCounts& counts) { display.update(counts); });
}

}  // namespace kestrelvisor::ctl
