// Codes for reading changed blocks. The engine carries them for hosts; none of its operations reads
// changed blocks.

#include "kestrelctl/explanations/tables.h"

#include <array>

namespace kestrelvisor::ctl {
namespace {

struct Row {
  const char* code;
  const char* title;
};

// The titles are those that hosts see, to the letter.
constexpr std::array<Row, 18> kRows{{
    {"0", "CBT Get OK"},
    {"1", "get vmhandle failed"},
    {"2", "snapshot ID is NULL"},
    {"3", "get qstore IP failed"},
    {"4", "create and open bitmap volume failed"},
    {"5", "get dirty ranges failed"},
    {"6", "close and delete bitmap volume failed"},
    {"7", "get CBT exceed disk size"},
    {"8", "the previous snapshot change ID is null"},
    {"9", "the snapshot is invalid"},
    {"10", "get snapshot vmhandle failed"},
    {"11", "get vmhandle failed when delete snapshot"},
    {"12", "get vmhandle failed when get dirty ranges"},
    {"13", "get vmhandle failed when kestrel vsior engine get dirty ranges"},
    {"1000", "QStore agent is not be installed"},
    {"1001", "Java file is not exist"},
    {"1002", "Java file have no permission"},
    {"1003", "VBS_TOOL configure fault"},
}};

std::vector<Explanation> makeTable() {
  std::vector<Explanation> table;
  for (const Row& row : kRows) {
    table.push_back({CodeKind::blocks, row.code, row.title,
                     "a host of this family failed to read the changed blocks of a disk; this "
                     "engine knows the text and never makes it",
                     "no operation of kestrelctl", "look into the log of the host that reports it",
                     Retry::depends, false});
  }
  table.front().cause = "reading changed blocks worked";
  table.front().remedy = "nothing";
  table.front().retry = Retry::no;
  return table;
}

}  // namespace

const std::vector<Explanation>& blocksTable() {
  static const std::vector<Explanation> table = makeTable();
  return table;
}

}  // namespace kestrelvisor::ctl
