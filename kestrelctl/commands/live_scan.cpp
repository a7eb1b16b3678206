#include "kestrelctl/commands/live_scan.h"

#include "kestrelctl/reply_index.h"
#include "kestrelctl/reply_warnings.h"
#include "kestrelctl/watch/progress_display.h"

#include <vector>

namespace kestrelvisor::ctl {

OperationResult scanWithProgress(const OperationRequest& request) {
  const auto manner = mannerOnTalk(request.progress, request.log.goesToTalk());
  ProgressDisplay display(manner, surfaceOfTalk());
  OperationResult result =
      perform(request, [&](const ScanCounts& counts) { display.update(counts); });
  const std::vector<Warning> ofReply = warningsOf(ReplyIndex(result.reply), "the reply");
  result.warnings.insert(result.warnings.end(), ofReply.begin(), ofReply.end());
  return result;
}

}  // namespace kestrelvisor::ctl
