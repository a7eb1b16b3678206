#pragma once

#include "kestrelctl/reply_index.h"
#include "kestrelctl/warning.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What the user should know about a reply itself, which the warnings call by a name such as "the
// reply": records that cannot be shown in their place, and GUIDs that are no one thing's.
std::vector<Warning> warningsOf(const ReplyIndex& index, const std::string& name);

}  // namespace kestrelvisor::ctl
