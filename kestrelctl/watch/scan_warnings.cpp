#include "kestrelctl/watch/scan_warnings.h"

#include "kestrelctl/terminal_text.h"
#include "kestrelctl/watch/accounting_view.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kMostSystemsNamed = 3;

// What was seen of machines that changed while the scan ran may be otherwise the next time.
constexpr const char* kScanAgain = "; scan again to be sure";

// "Linux number 998, Other number 7 and 2 others".
std::string namesOf(const std::vector<MachineLedger::UnknownSystem>& systems) {
  const std::size_t named = std::min(systems.size(), kMostSystemsNamed);
  std::string names;
  for (std::size_t i = 0; i < named; ++i) {
    const std::string& text = systems[i].text;
    names += (i == 0 ? "" : ", ") + (text.empty() ? std::string("none told") : text);
  }
  if (systems.size() > named) names += " and " + counted(systems.size() - named, "other");
  return names;
}

void addLeftOut(const Accounting& accounting, std::vector<Warning>& warnings) {
  const std::uint64_t leftOut =
      accounting.outOfScope + accounting.unreadableUuid + accounting.unreadData;
  if (leftOut == 0) return;
  std::string text = counted(leftOut, "machine") + (leftOut == 1 ? " is" : " are") +
                     " missing here: " + lossesOf(accounting);
  if (accounting.unreadableUuid > 0) text += "; --log-level warning names those with a bad UUID";
  warnings.push_back({"machines-left-out", text});
}

void addUnexplained(const Accounting& accounting, std::vector<Warning>& warnings) {
  const std::int64_t difference = accounting.unexplained();
  const auto size = static_cast<std::uint64_t>(difference < 0 ? -difference : difference);
  std::string text;
  if (difference > 0) {
    text = "nothing explains why " + counted(size, "machine") + " of the manager's count " +
           (size == 1 ? "is" : "are") +
           " missing here; machines may have gone or moved while the scan ran";
  } else if (accounting.vanished > 0) {
    text = counted(accounting.vanished, "machine") + " went or moved while the scan ran, and " +
           (accounting.vanished == 1 ? "is" : "are") + " missing here";
  } else if (difference < 0) {
    text = "the manager told of " + counted(size, "machine") +
           " more than it had counted; machines may have come while the scan ran";
  }
  if (!text.empty()) warnings.push_back({"machines-unexplained", text + kScanAgain});
}

}  // namespace

Warning warningOfNoOwnSite() {
  return {"no-own-site",
          "the manager calls none of its sites its own, so the scan could ask for none by name"};
}

void addGuestWarning(const std::vector<MachineLedger::UnknownSystem>& systems,
                     std::vector<Warning>& warnings) {
  std::size_t machines = 0;
  for (const MachineLedger::UnknownSystem& system : systems) machines += system.machines;
  if (machines == 0) return;
  warnings.push_back(
      {"unknown-guest-systems", "the manager's list of guest systems lacks that of " +
                                    counted(machines, "machine") + ": " + namesOf(systems)});
}

void addMachineWarnings(const Accounting& accounting, std::vector<Warning>& warnings) {
  addLeftOut(accounting, warnings);
  addUnexplained(accounting, warnings);
}

void addRepetitionWarning(const ScanEnvironmentReply& reply, std::vector<Warning>& warnings) {
  std::unordered_set<UrnHash> met;
  std::uint64_t repeated = 0;
  for (const machine_record& machine : reply.machine_records()) {
    if (!met.insert(hashOfUri(machine.mo())).second) ++repeated;
  }
  if (repeated == 0) return;
  warnings.push_back({"machines-repeated",
                      counted(repeated, "machine") + (repeated == 1 ? " stands" : " stand") +
                          " here more than once, as the manager told it; its list may have changed "
                          "while the scan ran"});
}

}  // namespace kestrelvisor::ctl
