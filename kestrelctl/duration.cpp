#include "kestrelctl/duration.h"

#include "kestrelctl/ascii.h"
#include "kestrelctl/failure.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>

namespace kestrelvisor::ctl {
namespace {

struct Unit {
  std::string_view name;
  std::int64_t milliseconds;
};

// In the order in which they stand in a duration.
constexpr std::array<Unit, 4> kUnits{{{"h", 3'600'000}, {"m", 60'000}, {"s", 1'000}, {"ms", 1}}};
constexpr const Unit* kSecond = &kUnits[2];
constexpr std::int64_t kLongest = 365LL * 24 * 3'600'000;

// Takes a number from the front of a text; nothing when there is none or it is beyond all use.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
  if (text.empty() || !isDigit(text.front())) return std::nullopt;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number > kLongest) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// Takes the letters of a unit from the front of a text. Each unit stands once, the largest first:
// the search goes on where the last one ended.
const Unit* takeUnit(std::string_view& text, const Unit* from) {
  const auto* const end = std::find_if(text.begin(), text.end(), isDigit);
  const std::string_view name = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  const Unit* const found =
      std::find_if(from, kUnits.end(), [&](const Unit& unit) { return unit.name == name; });
  text.remove_prefix(name.size());
  return found;
}

std::optional<std::int64_t> readMilliseconds(std::string_view text) {
  std::int64_t total = 0;
  const bool plain = std::all_of(text.begin(), text.end(), isDigit);
  for (const Unit* unit = kUnits.begin(); !text.empty();) {
    const auto number = takeNumber(text);
    if (!number) return std::nullopt;
    unit = plain ? kSecond : takeUnit(text, unit);
    if (unit == kUnits.end() || *number > kLongest / unit->milliseconds) return std::nullopt;
    total += *number * unit->milliseconds;
    ++unit;
  }
  return total;
}

}  // namespace

std::chrono::milliseconds readDuration(const std::string& option, std::string_view text) {
  constexpr const char* kHint =
      "write it like 30s, 2m, 1h30m or 500ms; a plain number counts seconds";
  const auto milliseconds = readMilliseconds(text);
  if (text.empty() || !milliseconds) {
    throw wrongUsage(option + ": \"" + std::string(text) + "\" is no duration", kHint);
  }
  if (*milliseconds == 0) throw wrongUsage(option + ": it leaves no time at all", kHint);
  if (*milliseconds > kLongest) throw wrongUsage(option + ": more than a year (8760h)", kHint);
  return std::chrono::milliseconds(*milliseconds);
}

std::string durationText(std::chrono::milliseconds duration) {
  std::string text;
  std::int64_t left = duration.count();
  for (const Unit& unit : kUnits) {
    if (left < unit.milliseconds) continue;
    text += std::to_string(left / unit.milliseconds).append(unit.name);
    left %= unit.milliseconds;
  }
  return text.empty() ? "0s" : text;
}

}  // namespace kestrelvisor::ctl
