#include "kestrelctl/watch/accounting_view.h"

#include "kestrelctl/terminal_text.h"

#include <sstream>

namespace kestrelvisor::ctl {
namespace {

void add(std::string& list, const std::string& item) { list += (list.empty() ? "" : ", ") + item; }

void addUnlessNone(std::string& list, std::uint64_t count, const std::string& words) {
  if (count > 0) add(list, grouped(count) + " " + words);
}

void addCountUnlessNone(std::string& list, std::uint64_t count, const std::string& noun) {
  if (count > 0) add(list, counted(count, noun));
}

void addUnexplained(std::string& list, std::int64_t difference) {
  if (difference > 0) add(list, grouped(static_cast<std::uint64_t>(difference)) + " unexplained");
  if (difference < 0) {
    add(list, grouped(static_cast<std::uint64_t>(-difference)) + " more than counted");
  }
}

// Everything but the recorded machines.
std::string othersOf(const Accounting& accounting) {
  std::string others;
  addCountUnlessNone(others, accounting.templates, "template");
  addCountUnlessNone(others, accounting.linkedClones, "linked clone");
  if (const std::string losses = lossesOf(accounting); !losses.empty()) add(others, losses);
  // Where as many came as went, the numbers alone would tell of nothing.
  if (accounting.unexplained() <= 0) addUnlessNone(others, accounting.vanished, "gone or moved");
  addUnexplained(others, accounting.unexplained());
  return others;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(wrapped(text, kLineWidth));
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::string lossesOf(const Accounting& accounting) {
  std::string losses;
  addUnlessNone(losses, accounting.outOfScope, "in a place that is not part of the result");
  addUnlessNone(losses, accounting.unreadableUuid, "with an unreadable UUID");
  addUnlessNone(losses, accounting.unreadData, "whose data were not told");
  return losses;
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
