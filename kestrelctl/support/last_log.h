#pragma once

#include <string>

namespace kestrelvisor::ctl {

// Notes which file a log is written to, for lastLog, unless it is a pipe or a device, which could
// not be read again. What goes wrong is not told: nothing but comfort is missing then.
void rememberLog(const std::string& path) noexcept;

// The file that the last log went to; empty when none is known.
std::string lastLog();

}  // namespace kestrelvisor::ctl
