#include "kestrelctl/reply_warnings.h"

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

}  // namespace

std::vector<Warning> warningsOf(const ReplyIndex& index, const std::string& name) {
  const StrayRecords& strays = index.strays();
  if (strays.total() == 0) return {};
  return {{"records-without-place", name + " has " + counted(strays.total(), "record") +
                                        " without a place in its tree (" + kindsOf(strays) +
                                        "); not all of it can be shown"}};
}

}  // namespace kestrelvisor::ctl
