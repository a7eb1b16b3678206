#include "kestrelctl/reply_warnings.h"

#include "kestrelctl/comparison/reply_items.h"
#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

std::string countUnlessNone(std::size_t count, const std::string& noun) {
  return count > 0 ? counted(count, noun) : std::string();
}

std::string kindsOf(const StrayRecords& strays) {
  return joined({countUnlessNone(strays.rows, "row"), countUnlessNone(strays.machines, "machine"),
                 countUnlessNone(strays.others, "other object"),
                 countUnlessNone(strays.disks, "disk"),
                 countUnlessNone(strays.relations, "relation")});
}

void warnOfStrays(const StrayRecords& strays, const std::string& name,
                  std::vector<Warning>& warnings) {
  if (strays.total() == 0) return;
  warnings.push_back({"records-without-place", name + " has " + counted(strays.total(), "record") +
                                                   " without a place in its tree (" +
                                                   kindsOf(strays) +
                                                   "); not all of it can be shown"});
}

void warnOfGuids(const std::set<KindAndKey>& keys, const std::string& name,
                 std::vector<Warning>& warnings) {
  if (keys.empty()) return;
  const auto& [kind, key] = *keys.begin();
  warnings.push_back({"repeated-guid", name + " has " + counted(keys.size(), "GUID") +
                                           " more than once, the first of a " + itemKindName(kind) +
                                           ": \"" + std::string(key) +
                                           "\"; whoever goes by it takes two things for one"});
}

}  // namespace

std::vector<Warning> warningsOf(const ReplyIndex& index, const std::string& name) {
  std::vector<Warning> warnings;
  warnOfStrays(index.strays(), name, warnings);
  warnOfGuids(confusingKeys(itemsOf(index)), name, warnings);
  return warnings;
}

}  // namespace kestrelvisor::ctl
