#pragma once

#include "kestrelctl/accounting.h"
#include "kestrelctl/warning.h"

#include <optional>
#include <vector>

namespace kestrelvisor::ctl {

// What is told about a reply beside what stands in it.
struct ReplyNotes {
  std::optional<Accounting> accounting;  // nothing: a saved reply does not say what was counted
  std::vector<Warning> warnings;
};

}  // namespace kestrelvisor::ctl
