#pragma once

#include <string>
#include <string_view>

namespace kestrelvisor::vrmsim {

// SHA-256 of the bytes as 64 lower-case hexadecimal digits.
std::string sha256Hex(std::string_view bytes);

// 48 hexadecimal digits that nobody can guess. Throws std::runtime_error when the system has no
// random numbers.
std::string randomToken();

}  // namespace kestrelvisor::vrmsim
