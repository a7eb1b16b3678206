#pragma once

#include <cstdlib>

namespace kestrelvisor::ctl {

// Whether a variable of the environment is there and not empty.
inline bool isSet(const char* variable) {
  const char* const text = std::getenv(variable);
  return text != nullptr && *text != '\0';
}

}  // namespace kestrelvisor::ctl
