#pragma once

#include "kestrelctl/support/log_end.h"

#include <string>

namespace kestrelvisor::ctl {

// What helps others to find out what is wrong here, as a text that its owner can read before he
// hands it on: versions, this system, the configuration, pins and the end of a log. Only what is
// known to be no secret is taken over as it is; of everything else is told that it is there, and
// the log is cleaned.
//
// ownVersion is kestrelctl's.
std::string supportBundle(const std::string& ownVersion, const LogEnd& log);

}  // namespace kestrelvisor::ctl
