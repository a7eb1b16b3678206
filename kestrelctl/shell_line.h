#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// The text as one word of a shell, whatever stands in it: in single quotes.
std::string inSingleQuotes(const std::string& text);

// A command line as people type it and a shell takes it: words that a shell would read otherwise
// are quoted, and where it is wider than a screen it goes on in indented lines, an option beside
// its value.
std::vector<std::string> shellLines(const std::vector<std::string>& words, std::size_t columns);

}  // namespace kestrelvisor::ctl
