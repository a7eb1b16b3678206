#include "kestrelctl/worker/worker.h"

#include "base/wipe_string.h"
#include "kestrelctl/engine_session.h"
#include "kestrelctl/libraries.h"
#include "kestrelctl/standard_output_exchange.h"
#include "kestrelctl/worker/change_ledger.h"
#include "kestrelctl/worker/messages.h"
#include "kestrelctl/worker/orderly_end.h"
#include "kestrelctl/worker/session_ledger.h"
#include "platform/reference/logging.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <sstream>
#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr int kLogInfo = 1;

template <class Value>
bool readOption(int option, Value& value) {
  socklen_t size = sizeof value;
  return getsockopt(kWorkerChannel, SOL_SOCKET, option, &value, &size) == 0;
}

// Whether the channel was made by the process that has started this one.
bool isChannelOfParent() {
  int domain = 0;
  int type = 0;
  ucred peer{};
  return readOption(SO_DOMAIN, domain) && domain == AF_UNIX && readOption(SO_TYPE, type) &&
         type == SOCK_STREAM && readOption(SO_PEERCRED, peer) && peer.pid == getppid();
}

// Never destroyed: the engine's static objects log out when the process ends.
Channel& adoptChannel() {
  if (!isChannelOfParent()) {
    throw wrongUsage("worker: kestrelctl starts this part of itself when it needs it",
                     "kestrelctl --help shows the commands");
  }
  fcntl(kWorkerChannel, F_SETFD, FD_CLOEXEC);
  static auto* const channel = new Channel(Descriptor(kWorkerChannel));
  return *channel;
}

// Sees what the engine logs, from before the operation to the end of the process.
class LogWatch {
 public:
  explicit LogWatch(Channel& channel)
      : channel_(channel),
        observer_([this](const LogRecord& record) { takeSessions(record); },
                  [](int, std::string_view function) { OrderlyEnd::leaveOperation(function); },
                  SessionLedger::kLowestLevel) {}

 private:
  void takeSessions(const LogRecord& record) {
    ledger_.take(record);
    OrderlyEnd::spareLogout(ledger_.isLoggingOut());
    if (ledger_.open() == told_ && ledger_.hasLoggedIn() == toldLogin_) return;
    told_ = ledger_.open();
    toldLogin_ = ledger_.hasLoggedIn();
    sendMessage(channel_, sessionsEvent(told_, toldLogin_));
  }

  Channel& channel_;
  SessionLedger ledger_;
  std::size_t told_ = 0;
  bool toldLogin_ = false;
  LogObserver observer_;  // last: it uses the others
};

// From the first call on. Never destroyed, as the channel.
LogWatch& watchLog(Channel& channel) {
  static auto* const watch = new LogWatch(channel);
  return *watch;
}

// Sees what the engine logs while it makes a change at the manager.
class ChangeWatch {
 public:
  explicit ChangeWatch(Channel& channel)
      : channel_(channel),
        observer_([this](const LogRecord& record) { take(record); }, nullptr,
                  ChangeLedger::kLowestLevel) {}

 private:
  void take(const LogRecord& record) {
    ledger_.take(record);
    if (ledger_.isOutcomeUnknown() == told_) return;
    told_ = ledger_.isOutcomeUnknown();
    sendMessage(channel_, changeEvent(told_));
  }

  Channel& channel_;
  ChangeLedger ledger_;
  bool told_ = false;
  LogObserver observer_;  // last: it uses the others
};

void prepareLog(const LogSettings& settings) {
  LogOptions options;
  options.file = settings.file;
  options.threshold =
      settings.level.value_or(settings.file.empty() ? LogSettings::kNothing : kLogInfo);
  std::string problem;
  if (!configureLogging(options, problem)) throw wrongUsage("--log-file: " + problem);
}

OperationRequest receiveRequest(Channel& channel) {
  std::string frame;
  if (!channel.receive(frame)) throw BrokenChannel("there is no job");
  wire::Job job;
  readMessage(frame, job);
  return requestOf(job);
}

// False when the other side has none to give after all.
bool receivePassword(Channel& channel, EngineSession& session) {
  std::string password;
  const WipeOnExit wipe(password);
  if (!channel.receiveSecret(password)) return false;
  session.usePassword(password);
  return true;
}

void scan(Channel& channel, EngineSession& session, bool keepsDump, OperationResult& result) {
  const auto tell = [&](const ScanCounts& counts) { sendMessage(channel, progressEvent(counts)); };
  std::stringbuf kept;
  Discard dropped;
  std::streambuf& dump = keepsDump ? static_cast<std::streambuf&>(kept) : dropped;
  result.accounting = session.scan(result.reply, dump, tell);
  result.testerDump = kept.str();
}

void disableCbt(Channel& channel, EngineSession& session, const std::string& machineUri) {
  const ChangeWatch watch(channel);
  session.disableCbt(machineUri);
}

OperationResult operate(Channel& channel, EngineSession& session, const OperationRequest& request) {
  const OrderlyEnd orderly;
  OperationResult result;
  switch (request.kind) {
    case OperationKind::verify:
      result.guid = session.verify();
      break;
    case OperationKind::scan:
      scan(channel, session, request.keepsTesterDump, result);
      break;
    case OperationKind::disableCbt:
      disableCbt(channel, session, request.machineUri);
      break;
  }
  return result;
}

// Returns the event with which the operation ends; none when it is no longer wanted.
std::optional<wire::Event> work(Channel& channel, const OperationRequest& request) {
  try {
    prepareLibraries(request.connection.useEnvironment);
    prepareLog(request.log);
    const auto warn = [&](const Warning& warning) { sendMessage(channel, eventOf(warning)); };
    EngineSession session(request.connection, warn);
    sendMessage(channel, readyEvent());
    if (!receivePassword(channel, session)) return std::nullopt;
    watchLog(channel);
    return eventOf(operate(channel, session, request));
  } catch (const Failure& failure) {
    return eventOf(failure);
  } catch (const BrokenChannel&) {
    throw;
  } catch (const std::exception& error) {
    return eventOf(Failure(ExitCode::unreadableAnswer, error.what()));
  }
}

}  // namespace

ExitCode runWorker() {
  Channel& channel = adoptChannel();
  try {
    const auto end = work(channel, receiveRequest(channel));
    if (end) sendMessage(channel, *end);
  } catch (const BrokenChannel&) {
    return ExitCode::unreadableAnswer;  // whoever started us sees that, or has gone
  }
  return ExitCode::success;
}

}  // namespace kestrelvisor::ctl
