#pragma once

#include <string>

namespace kestrelvisor::ctl {

// Notes which file a log was written to, for lastLog. What goes wrong is not told: nothing but
// comfort is missing then.
void rememberLog(const std::string& path) noexcept;

// The file that the last log went to; empty when none is known.
std::string lastLog();

}  // namespace kestrelvisor::ctl
