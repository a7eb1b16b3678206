#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace kestrelvisor::ctl {

// What errno says, in the system's words.
inline std::string systemError() { return std::generic_category().message(errno); }

}  // namespace kestrelvisor::ctl
