#include "kestrelctl/operation.h"

#include "base/wipe_string.h"
#include "kestrelctl/console.h"
#include "kestrelctl/engine_session.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/libraries.h"
#include "kestrelctl/standard_output_exchange.h"
#include "kestrelctl/terminal_text.h"
#include "platform/reference/logging.h"

#include <sstream>

namespace kestrelvisor::ctl {
namespace {

constexpr int kLogNothing = 5;
constexpr int kLogInfo = 1;

void prepareLog(const LogSettings& settings) {
  LogOptions options;
  options.file = settings.file;
  options.threshold = settings.level.value_or(settings.file.empty() ? kLogNothing : kLogInfo);
  std::string problem;
  if (!configureLogging(options, problem)) throw wrongUsage("--log-file: " + problem);
}

std::string question(const ConnectionOptions& connection) {
  return "Password of " + printable(connection.user, renderingOfTalk().utf8) + " on " +
         connection.manager.url() + ": ";
}

// Fetched only after everything else has been found usable, and gone before the network is used.
void givePassword(const ConnectionOptions& connection, EngineSession& session) {
  std::string password;
  const WipeOnExit wipe(password);
  fetchPassword(connection.password, question(connection), password);
  session.usePassword(password);
}

void scan(EngineSession& session, bool keepsDump, OperationResult& result) {
  std::stringbuf kept;
  Discard dropped;
  std::streambuf& dump = keepsDump ? static_cast<std::streambuf&>(kept) : dropped;
  result.machinesLeftOut = session.scan(result.reply, dump);
  result.testerDump = kept.str();
}

}  // namespace

OperationResult perform(const OperationRequest& request) {
  prepareLibraries(request.connection.useEnvironment);
  prepareLog(request.log);
  EngineSession session(request.connection);
  givePassword(request.connection, session);
  OperationResult result;
  switch (request.kind) {
    case OperationKind::verify:
      result.guid = session.verify();
      break;
    case OperationKind::scan:
      scan(session, request.keepsTesterDump, result);
      break;
    case OperationKind::disableCbt:
      session.disableCbt(request.machineUri);
      break;
  }
  result.warnings = session.warnings();
  return result;
}

}  // namespace kestrelvisor::ctl
