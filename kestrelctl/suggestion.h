#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Returns the candidate that the user most likely meant by a mistyped word, or an empty text when
// none is near.
std::string nearestWord(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace kestrelvisor::ctl
