#pragma once

#include "kestrelctl/console.h"
#include "kestrelctl/reply_index.h"

#include <string>

namespace kestrelvisor::ctl {

// For people: the datastores of a reply with their sizes, then its counts.
std::string summaryView(const ReplyIndex& index, const Rendering& rendering);

}  // namespace kestrelvisor::ctl
