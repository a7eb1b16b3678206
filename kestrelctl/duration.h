#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// Reads "5s", "2m", "1h30m" or "500ms"; a plain number counts seconds. Throws a Failure of wrong
// usage that begins with the option's name.
std::chrono::milliseconds readDuration(const std::string& option, std::string_view text);

// The same time as a user would write it, "1h30m".
std::string durationText(std::chrono::milliseconds duration);

}  // namespace kestrelvisor::ctl
