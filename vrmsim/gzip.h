#pragma once

#include <string>

namespace kestrelvisor::vrmsim {

// The bytes in gzip's coding, without a time: the same text gives the same bytes.
std::string gzipped(const std::string& text);

}  // namespace kestrelvisor::vrmsim
