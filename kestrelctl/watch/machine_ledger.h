#pragma once

#include "environment.pb.h"
#include "kestrelctl/accounting.h"
#include "kestrelctl/watch/told_answer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kestrelvisor::ctl {

// All machines that the manager has told of in a scan, each one once, whatever the manager repeats.
// It keeps no texts of machines, and only so many machines.
class MachineLedger {
 public:
  static constexpr std::size_t kMostMachines = 1'000'000;

  // Takes in a machine of a page; what is told last counts. True the first time.
  bool tell(const ToldMachine& machine);
  // Likewise from the page of the place where it is.
  bool tellInPlace(const ToldMachine& machine);
  // The engine could not use it: its UUID, or all that was told of it.
  void refuseUuid(std::string_view urn);
  void refuseData(std::string_view uri);

  std::size_t size() const { return machines_.size(); }

  // Where each machine went; counted is what the manager's own count says.
  Accounting account(const ScanEnvironmentReply& reply, std::uint64_t counted) const;

  // A guest system that the manager's catalogue does not know.
  struct UnknownSystem {
    std::string text;  // empty: the manager names none
    std::size_t machines = 0;
  };
  // Those of the reply's machines, the most frequent first.
  std::vector<UnknownSystem> unknownSystems(const ScanEnvironmentReply& reply) const;

 private:
  struct Machine {
    UrnHash place = 0;
    std::uint32_t traits = 0;
    std::uint16_t system = 0;  // position in systems_
  };

  Machine* find(UrnHash urn);
  std::uint16_t numberOf(const std::string& system);

  std::unordered_map<UrnHash, Machine> machines_;
  std::vector<std::string> systems_{std::string()};
  std::unordered_map<std::string, std::uint16_t> systemNumbers_;
};

}  // namespace kestrelvisor::ctl
