#pragma once

#include "environment.pb.h"

#include <string>

namespace kestrelvisor::ctl {

// Reads a reply that was kept; "-" is standard input. Throws a Failure of wrong usage, which names
// the file, when it cannot be read or holds no reply.
ScanEnvironmentReply readReplyFile(const std::string& path);

}  // namespace kestrelvisor::ctl
