#include "kestrelctl/finding/size_text.h"

#include "kestrelctl/ascii.h"

#include <algorithm>
#include <array>
#include <string>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kPrefixes = "kmgtp";

// Takes digits, a point and more digits off the front of a text; nothing when there is no digit.
std::optional<long double> takeNumber(std::string_view& text) {
  long double number = 0;
  long double scale = 1;
  bool anyDigit = false;
  bool afterPoint = false;
  for (; !text.empty(); text.remove_prefix(1)) {
    const char c = text.front();
    if (c == '.' && !afterPoint) {
      afterPoint = true;
    } else if (isDigit(c)) {
      anyDigit = true;
      number = number * 10 + static_cast<long double>(c - '0');
      if (afterPoint) scale *= 10;
    } else {
      break;
    }
  }
  if (!anyDigit) return std::nullopt;
  return number / scale;
}

std::optional<long double> bytesOfUnit(const std::string& unit) {
  if (unit == "b") return 1.0L;
  const std::size_t prefix = unit.empty() ? std::string::npos : kPrefixes.find(unit.front());
  if (prefix == std::string::npos) return std::nullopt;
  const std::string rest = unit.substr(1);
  if (!rest.empty() && rest != "b" && rest != "ib") return std::nullopt;
  const long double step = rest == "b" ? 1000.0L : 1024.0L;
  long double bytes = step;
  for (std::size_t i = 0; i < prefix; ++i) bytes *= step;
  return bytes;
}

}  // namespace

std::optional<long double> bytesOfSizeText(std::string_view text) {
  const auto number = takeNumber(text);
  if (!number) return std::nullopt;
  if (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  std::string unit(text);
  std::transform(unit.begin(), unit.end(), unit.begin(), lowerCase);
  const auto bytes = bytesOfUnit(unit);
  if (!bytes) return std::nullopt;
  return *number * *bytes;
}

}  // namespace kestrelvisor::ctl
