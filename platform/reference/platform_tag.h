#pragma once

#include <string_view>

namespace kestrelvisor {

// Tag of the records that the platform itself writes.
inline constexpr std::string_view kPlatformTag = "KestrelVisorPlatform";

}  // namespace kestrelvisor
