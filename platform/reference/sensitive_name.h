#pragma once

#include <string_view>

namespace kestrelvisor {

// What the name of a JSON key, header, parameter or setting says about its value.
enum class NameKind : unsigned char {
  harmless,
  secret,
  secretLine,  // as a header, the whole rest of the line belongs to the value
};

// Judges a name: ASCII case, "-", "_", "." and blanks do not count; "%XX" and "\uXXXX" are read.
NameKind kindOfName(std::string_view name);

}  // namespace kestrelvisor
