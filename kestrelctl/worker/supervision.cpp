#include "kestrelctl/worker/supervision.h"

#include "kestrelctl/duration.h"
#include "kestrelctl/terminal_text.h"
#include "kestrelctl/worker/messages.h"
#include "kestrelctl/worker/worker_environment.h"

#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

using std::chrono::milliseconds;

// How long an orderly end may take: all in all less than a second.
constexpr milliseconds kPatienceAtEnd(800);
// Between two signals that cut connections: one may have been made since.
constexpr milliseconds kBetweenSignals(50);
// Between two looks at the progress of a scan of which nothing new is told.
constexpr milliseconds kBetweenCounts(200);
// For each logout, once the outcome is known.
constexpr milliseconds kPatienceWithLogout(2000);

std::string nameOfSignal(int number) {
  const char* const name = sigabbrev_np(number);
  const char* const words = sigdescr_np(number);
  if (name == nullptr || words == nullptr) return "signal " + std::to_string(number);
  return "SIG" + std::string(name) + " (" + words + ")";
}

std::string describedEnd(int status) {
  if (WIFSIGNALED(status)) return "ended by " + nameOfSignal(WTERMSIG(status));
  return "ended with exit code " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

void Supervision::waitUntilReady() {
  if (request_.timeLimit) deadline_ = Clock::now() + *request_.timeLimit;
  {
    const EndingSignals signals;
    worker_.emplace(workerEnvironment(request_.connection.useEnvironment), signals.before());
    try {
      sendMessage(worker_->channel(), jobOf(request_));
    } catch (const BrokenChannel&) {  // it has ended, which is seen below
    }
    watch(signals, true);
  }
  if (status_) throwEnd();
}

void Supervision::postpone(std::chrono::steady_clock::duration time) {
  if (deadline_) *deadline_ += time;
}

void Supervision::give(const std::string& password) {
  try {
    worker_->channel().send(password);
  } catch (const BrokenChannel&) {  // it has ended, which is seen by the next wait
  }
}

void Supervision::warn(const std::vector<Warning>& warnings) {
  warnings_.insert(warnings_.end(), warnings.begin(), warnings.end());
}

OperationResult Supervision::waitForResult() {
  {
    const EndingSignals signals;
    watch(signals, false);
  }
  if (ending_ || !result_) throwEnd();
  addOwnWarnings(result_->warnings);
  return std::move(*result_);
}

void Supervision::watch(const EndingSignals& signals, bool untilReady) {
  bool speaks = true;
  while (speaks && (ending_ || !(untilReady && ready_))) {
    std::array<pollfd, 2> entries{
        {{worker_->channel().descriptor(), POLLIN, 0}, {signals.descriptor(), POLLIN, 0}}};
    poll(entries.data(), entries.size(), millisecondsUntil(nextMoment()));
    if (entries[1].revents != 0) takeSignal(signals.take());
    if (entries[0].revents != 0) speaks = takeEvents();
    takeTime(Clock::now());
  }
  if (speaks) return;
  worker_->signal(SIGKILL);  // one that only says no more; a process that has ended stays as it is
  status_ = worker_->reap();
}

// When there is something to do although nobody says anything.
Deadline Supervision::nextMoment() const {
  if (killed_) return std::nullopt;
  Deadline next;
  const auto consider = [&](const Deadline& moment) {
    if (moment && (!next || *moment < *next)) next = moment;
  };
  if (!ending_ && !hasOutcome()) consider(deadline_);
  if (!ending_) consider(patience_);
  if (!ending_ && !hasOutcome()) consider(nextCounts_);
  if (ending_) consider(ending_->kill);
  if (ending_ && !hasOutcome()) consider(ending_->nextSignal);
  return next;
}

bool Supervision::takeEvents() {
  Channel& channel = worker_->channel();
  try {
    if (!channel.fill()) return false;
    for (std::string frame; channel.take(frame);) {
      wire::Event event;
      readMessage(frame, event);
      takeEvent(event);
    }
  } catch (const BrokenChannel&) {
    unreadable_ = true;
    return false;
  }
  return true;
}

void Supervision::takeEvent(const wire::Event& event) {
  switch (event.event_case()) {
    case wire::Event::kReady:
      ready_ = true;
      break;
    case wire::Event::kSessions:
      sessions_ = event.sessions().open();
      loggedIn_ = event.sessions().logged_in();
      break;
    case wire::Event::kWarning:
      warnings_.push_back(warningOf(event.warning()));
      break;
    case wire::Event::kChange:
      outcomeUnknown_ = event.change().outcome_unknown();
      break;
    case wire::Event::kProgress:
      counts_ = countsOf(event.progress());
      tellProgress(Clock::now());
      break;
    case wire::Event::kDone:
      result_ = resultOf(event.done());
      break;
    case wire::Event::kFailed:
      failure_ = failureOf(event.failed());
      break;
    case wire::Event::EVENT_NOT_SET:
      throw BrokenChannel("an event that nobody knows");
  }
  if (!hasOutcome()) return;
  patience_ = Clock::now() + kPatienceWithLogout;
  if (deadline_) patience_ = std::min(*patience_, *deadline_);
}

// The first asks for an orderly end. Who presses Ctrl-C once more has waited long enough; the
// system itself may send the others twice, to a process and to its group.
void Supervision::takeSignal(int number) {
  if (number == 0) return;
  if (!ending_) return beginEnding(number);
  ending_->signal = number;
  if (number == SIGINT || number == SIGQUIT) kill();
}

void Supervision::takeTime(Clock::time_point now) {
  if (killed_) return;
  if (!ending_ && !hasOutcome() && deadline_ && now >= *deadline_) beginEnding(std::nullopt);
  if (!ending_) {
    if (patience_ && now >= *patience_) kill();
    if (!hasOutcome() && nextCounts_ && now >= *nextCounts_) tellProgress(now);
    return;
  }
  if (now >= ending_->kill) return kill();
  if (hasOutcome() || now < ending_->nextSignal) return;
  worker_->signal(SIGTERM);
  ending_->nextSignal = now + kBetweenSignals;
}

void Supervision::tellProgress(Clock::time_point now) {
  if (!progress_) return;
  progress_(*counts_);
  nextCounts_ = now + kBetweenCounts;
}

void Supervision::beginEnding(std::optional<int> signal) {
  const Clock::time_point now = Clock::now();
  ending_ = Ending{signal, now, now + kPatienceAtEnd};
}

void Supervision::kill() {
  killed_ = true;
  worker_->signal(SIGKILL);
}

void Supervision::throwEnd() const {
  if (ending_ && ending_->signal) {
    Interrupted interrupted{*ending_->signal};
    addOwnWarnings(interrupted.warnings);
    if (result_ && request_.kind == OperationKind::disableCbt) {
      interrupted.warnings.push_back(
          {"change-made", "changed-block tracking had been switched off by then"});
    }
    throw interrupted;
  }
  Failure end = ending_ ? timeLimitFailure() : failure_ ? *failure_ : deathFailure();
  addOwnWarnings(end.warnings);
  end.hadSession = loggedIn_;
  throw end;
}

Failure Supervision::timeLimitFailure() const {
  Failure failure =
      ownFailure(ExitCode::timeLimit,
                 "the time limit of " + durationText(*request_.timeLimit) + " has passed");
  failure.hint =
      "give it more time with --timeout; look at the manager's load and at the network between";
  return failure;
}

Failure Supervision::deathFailure() const {
  if (!unreadable_ && WIFEXITED(*status_) && WEXITSTATUS(*status_) == kCannotExecute) {
    Failure failure =
        ownFailure(ExitCode::unreadableAnswer, "the process of the engine could not be started");
    failure.hint =
        "kestrelctl starts itself again by /proc/self/exe: /proc must be mounted, and its "
        "program be the one that runs";
    return failure;
  }
  Failure failure = ownFailure(ExitCode::unreadableAnswer,
                               "the process of the engine ended before the operation did");
  const std::string end = unreadable_ ? "said what cannot be read" : describedEnd(*status_);
  failure.facts.push_back({"process", end});
  const bool outOfMemory = !unreadable_ && WIFSIGNALED(*status_) && WTERMSIG(*status_) == SIGKILL;
  failure.hint = outOfMemory
                     ? "a system that runs out of memory ends processes so; its log would tell"
                     : "--log-file FILE with --log-level trace keeps what the engine did before";
  return failure;
}

Failure Supervision::ownFailure(ExitCode code, const std::string& why) const {
  const ConnectionOptions& connection = request_.connection;
  Failure failure(code, nameOf(request_.kind, request_.machineUri) + " failed: " + why);
  failure.facts.push_back({"manager", connection.manager.url() + " as " + connection.user});
  return failure;
}

void Supervision::addOwnWarnings(std::vector<Warning>& warnings) const {
  warnings.insert(warnings.begin(), warnings_.begin(), warnings_.end());
  if (outcomeUnknown_) {
    warnings.push_back({"outcome-unknown",
                        "the manager may have switched changed-block tracking off all the same"});
  }
  if (sessions_ == 0) return;
  warnings.push_back({"sessions-left-open",
                      counted(sessions_, "session") + " may still be open at " +
                          request_.connection.manager.url() + "; the manager closes " +
                          (sessions_ == 1 ? "it when it expires" : "them when they expire")});
}

}  // namespace kestrelvisor::ctl
