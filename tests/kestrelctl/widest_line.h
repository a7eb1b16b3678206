#pragma once

#include "kestrelctl/terminal_text.h"

#include <algorithm>
#include <sstream>
#include <string>

namespace kestrelvisor::ctl::test {

// The columns of the widest line of a text.
inline std::size_t widestLine(const std::string& text) {
  std::istringstream lines(text);
  std::size_t widest = 0;
  for (std::string line; std::getline(lines, line);) widest = std::max(widest, columnsOf(line));
  return widest;
}

}  // namespace kestrelvisor::ctl::test
