#pragma once

#include <string>

namespace kestrelvisor::vrmsim {

// How wide the lines of a help text may be.
constexpr std::size_t kHelpWidth = 79;

// The text in lines of that width; the second and further ones are indented.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent);

// All keys of a fault rule with what they mean.
std::string faultHelp();

}  // namespace kestrelvisor::vrmsim
