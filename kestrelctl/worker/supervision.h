#pragma once

#include "kestrelctl/child_process.h"
#include "kestrelctl/deadline.h"
#include "kestrelctl/failure.h"
#include "kestrelctl/operation.h"
#include "kestrelctl/warning.h"
#include "kestrelctl/worker/worker.pb.h"
#include "kestrelctl/worker/worker_process.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// One operation in a process of its own, from its start to its end. In this order: waitUntilReady,
// give, waitForResult. Each throws the Failure with which the operation ends, or Interrupted; the
// worker has ended then. The time limit counts from the first of them on.
class Supervision {
 public:
  // Both must outlive it. progress gets the latest counts of a scan, some times a second even where
  // nothing is new.
  Supervision(const OperationRequest& request, const ProgressSink& progress)
      : request_(request), progress_(progress) {}

  // Until the worker has found everything usable but the password.
  void waitUntilReady();
  // When the time limit will have passed; nothing when there is none. A person takes none of it.
  const Deadline& deadline() const { return deadline_; }
  void postpone(std::chrono::steady_clock::duration time);
  void give(const std::string& password);
  // Warnings that come with the operation's end, whatever that is.
  void warn(const std::vector<Warning>& warnings);
  OperationResult waitForResult();

 private:
  using Clock = std::chrono::steady_clock;

  // The end of an operation that did not come by itself.
  struct Ending {
    std::optional<int> signal;  // nothing: the time limit has passed
    Clock::time_point nextSignal;
    Clock::time_point kill;
  };

  // Watches the worker until it has ended, or is ready when that is enough.
  void watch(const EndingSignals& signals, bool untilReady);
  Deadline nextMoment() const;
  // False when the worker says no more.
  bool takeEvents();
  void takeEvent(const wire::Event& event);
  void takeSignal(int number);
  void takeTime(Clock::time_point now);
  void tellProgress(Clock::time_point now);
  void beginEnding(std::optional<int> signal);
  void kill();
  bool hasOutcome() const { return result_ || failure_; }

  [[noreturn]] void throwEnd() const;
  Failure timeLimitFailure() const;
  Failure deathFailure() const;
  Failure ownFailure(ExitCode code, const std::string& why) const;
  void addOwnWarnings(std::vector<Warning>& warnings) const;

  const OperationRequest& request_;
  const ProgressSink& progress_;
  std::optional<WorkerProcess> worker_;
  std::optional<int> status_;  // the wait status of its end

  bool killed_ = false;

  bool ready_ = false;
  bool unreadable_ = false;
  std::optional<OperationResult> result_;
  std::optional<Failure> failure_;
  std::vector<Warning> warnings_;
  std::uint64_t sessions_ = 0;
  bool loggedIn_ = false;
  bool outcomeUnknown_ = false;  // of a change at the manager

  std::optional<ScanCounts> counts_;             // the latest
  std::optional<Clock::time_point> nextCounts_;  // when they are told again
  Deadline deadline_;
  std::optional<Clock::time_point> patience_;  // with a worker that has told its outcome
  std::optional<Ending> ending_;
};

}  // namespace kestrelvisor::ctl
