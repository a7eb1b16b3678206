#pragma once

#include <string>

namespace kestrelvisor::bench {

// Both throw std::runtime_error with the file's name.
std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace kestrelvisor::bench
