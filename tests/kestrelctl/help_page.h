#pragma once

#include <array>
#include <set>
#include <sstream>
#include <string>

namespace kestrelvisor::ctl::test {

inline constexpr std::array<const char*, 15> kCommands{
    "verify",           "scan",           "show",       "find",     "diff",
    "disable-cbt",      "doctor",         "cert",       "contexts", "explain",
    "encrypt-password", "support-bundle", "completion", "demo",     "version"};

// The long names of options in a help page, each where its line begins.
inline std::set<std::string> optionsIn(const std::string& help) {
  constexpr std::size_t kFarthest = 6;  // where a line of an option can begin
  std::set<std::string> options;
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t start = line.find_first_not_of(' ');
    if (start == std::string::npos || start > kFarthest || line[start] != '-') continue;
    const std::string names = line.substr(start, line.find(' ', start) - start);
    std::size_t name = names.find("--");
    for (; name != std::string::npos; name = names.find("--", name + 2)) {
      const std::size_t first = name + 2;
      options.insert(names.substr(first, names.find_first_of(",{", first) - first));
    }
  }
  return options;
}

}  // namespace kestrelvisor::ctl::test
