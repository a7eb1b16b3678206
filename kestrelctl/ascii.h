#pragma once

namespace kestrelvisor::ctl {

// Letters and digits of ASCII, whatever the user's locale is.

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace kestrelvisor::ctl
