#pragma once

#include "kestrelctl/reply_selection.h"

#include <string>

namespace kestrelvisor::ctl {

// The address of each thing on a line of its own, as addressOf tells it: for machines what
// disable-cbt takes. Things without one are left out, since no command could take them.
std::string namesView(const ReplyIndex& index, const ReplySelection& selection);

// An address as a line. Control characters are escaped, so that a line stays one.
std::string addressLine(const std::string& address);

}  // namespace kestrelvisor::ctl
