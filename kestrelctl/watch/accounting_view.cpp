#include "kestrelctl/watch/accounting_view.h"

#include "kestrelctl/terminal_text.h"

#include <sstream>

namespace kestrelvisor::ctl {
namespace {

// Empty for 0.
std::string unlessNone(std::uint64_t count, const std::string& words) {
  return count > 0 ? grouped(count) + " " + words : "";
}

std::string countedUnlessNone(std::uint64_t count, const std::string& noun) {
  return count > 0 ? counted(count, noun) : "";
}

std::string unexplainedOf(std::int64_t difference) {
  if (difference > 0) return grouped(static_cast<std::uint64_t>(difference)) + " unexplained";
  if (difference == 0) return {};
  return grouped(static_cast<std::uint64_t>(-difference)) + " more than counted";
}

// Everything but the recorded machines.
std::string othersOf(const Accounting& accounting) {
  // Where as many came as went, the numbers alone would tell of nothing.
  const std::uint64_t vanished = accounting.unexplained() <= 0 ? accounting.vanished : 0;
  return joined({countedUnlessNone(accounting.templates, "template"),
                 countedUnlessNone(accounting.linkedClones, "linked clone"), lossesOf(accounting),
                 unlessNone(vanished, "gone or moved"), unexplainedOf(accounting.unexplained())});
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(wrapped(text, kLineWidth));
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::string lossesOf(const Accounting& accounting) {
  return joined({unlessNone(accounting.outOfScope, "in a place that is not part of the result"),
                 unlessNone(accounting.unreadableUuid, "with an unreadable UUID"),
                 unlessNone(accounting.unreadData, "whose data were not told")});
}

std::vector<std::string> accountingSummary(const Accounting& accounting) {
  const std::string others = othersOf(accounting);
  std::string text = counted(accounting.counted, "machine") + " at the manager";
  if (!others.empty()) {
    text += ": " + grouped(accounting.recorded) + " recorded, " + others;
  } else if (accounting.recorded > 0) {
    text += accounting.recorded == 1 ? ": recorded" : ": all recorded";
  }
  return linesOf(text + ".");
}

}  // namespace kestrelvisor::ctl
