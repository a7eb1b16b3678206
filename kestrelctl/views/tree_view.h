#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/reply_index.h"

#include <string>

namespace kestrelvisor::ctl {

// A reply for people: an indented tree, then tables of datastores and counts.
std::string treeView(const ReplyIndex& index, const Rendering& rendering);

}  // namespace kestrelvisor::ctl
