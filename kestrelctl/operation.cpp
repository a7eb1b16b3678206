#include "kestrelctl/operation.h"

#include "base/wipe_string.h"
#include "kestrelctl/certificates/kept_key.h"
#include "kestrelctl/console.h"
#include "kestrelctl/foreign_settings.h"
#include "kestrelctl/support/last_log.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/worker/supervision.h"

namespace kestrelvisor::ctl {
namespace {

std::string question(const ConnectionOptions& connection) {
  return "Password of " + printable(connection.user, renderingOfTalk().utf8) + " on " +
         connection.manager.url() + ": ";
}

// Fetched only after everything else has been found usable, and gone before the network is used.
void givePassword(const ConnectionOptions& connection, Supervision& supervision) {
  std::string password;
  const WipeOnExit wipe(password);
  const FetchedPassword fetched =
      fetchPassword(connection.password, question(connection), supervision.deadline(), password);
  supervision.warn(fetched.warnings);
  supervision.postpone(fetched.typing);
  supervision.give(password);
}

// Tells until when it may take, as soon as the network is used.
OperationResult performSupervised(const OperationRequest& request, const ProgressSink& progress,
                                  Deadline& deadline) {
  Supervision supervision(request, progress);
  supervision.waitUntilReady();
  if (!request.log.file.empty()) rememberLog(request.log.file);  // it could be opened
  givePassword(request.connection, supervision);
  deadline = supervision.deadline();
  return supervision.waitForResult();
}

}  // namespace

std::string nameOf(OperationKind kind, const std::string& machineUri) {
  switch (kind) {
    case OperationKind::verify:
      return "verifying";
    case OperationKind::scan:
      return "scanning";
    case OperationKind::disableCbt:
      break;
  }
  return "switching off changed-block tracking of " + machineUri;
}

OperationResult perform(const OperationRequest& request, const ProgressSink& progress) {
  if (!request.connection.useEnvironment) forgetForeignSettings();
  Deadline deadline;
  try {
    return performSupervised(request, progress, deadline);
  } catch (Failure& failure) {
    tellPins(request.connection, deadline, failure);
    throw;
  }
}

}  // namespace kestrelvisor::ctl
