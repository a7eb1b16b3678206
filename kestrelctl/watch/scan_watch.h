#pragma once

#include "environment.pb.h"
#include "kestrelctl/accounting.h"
#include "kestrelctl/warning.h"
#include "kestrelctl/watch/machine_ledger.h"
#include "kestrelctl/watch/scan_counts.h"
#include "kestrelctl/watch/scan_plan.h"
#include "platform/reference/logging.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Follows one scan by the engine's log: how far it is, and what became of each machine that the
// manager told of. It believes nothing and throws nothing, whatever the texts say, and keeps no
// more than a few bytes of each machine and the latest answer.
class ScanWatch {
 public:
  static constexpr int kLowestLevel = 1;  // records below tell it nothing

  void take(const LogRecord& record);

  ScanCounts counts() const;
  // The phase alone: it takes no time worth speaking of, where the counts look at every place.
  ScanPhase phase() const;

  // Whether the manager calls none of its sites its own. Once true it stays so.
  bool lacksOwnSite() const { return hasOwnSite_ == false; }

  // Of a scan that worked, with its reply.
  Accounting accounting(const ScanEnvironmentReply& reply) const;
  std::vector<Warning> warnings(const ScanEnvironmentReply& reply) const;

 private:
  void read(const LogRecord& record);
  void readLine(const LogRecord& record);
  // An answer counts when what it was for has been taken in: exchanges and yield go up together.
  void takeAnswer(std::string_view answer);
  void settleAnswer();

  // What the lines say behind their first words.
  void countLogin(std::string_view);
  void takeSites(std::string_view);
  void takeClusters(std::string_view);
  void takeHosts(std::string_view);
  void takeCount(std::string_view number);
  void takePage(std::string_view);
  void endMachines(std::string_view);
  void skipDisks(std::string_view);
  void refuseUuid(std::string_view rest);
  void refuseMachine(std::string_view rest);

  void countObjects(ScanCounts& counts) const;

  MachineLedger machines_;
  ScanPlan plan_;
  std::string answer_;  // the latest
  bool isUnsettled_ = false;
  bool hasClusters_ = false;
  std::optional<bool> hasOwnSite_;
  std::uint64_t exchanges_ = 0;
  std::uint64_t listings_ = 0;
  std::uint64_t inPlace_ = 0;  // machines that their own places have told
};

}  // namespace kestrelvisor::ctl
