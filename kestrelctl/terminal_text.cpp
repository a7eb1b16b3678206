#include "kestrelctl/terminal_text.h"

#include <wchar.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
  char32_t code = 0;
  std::size_t size = 1;  // bytes that it takes
  bool valid = false;
};

// Size and payload of a character by its first byte; size 0 for a byte that starts none.
Character leadingByte(unsigned char byte) {
  if (byte < 0x80) return {byte, 1, true};
  if (byte >= 0xC2 && byte < 0xE0) return {byte & 0x1FU, 2, true};
  if (byte >= 0xE0 && byte < 0xF0) return {byte & 0x0FU, 3, true};
  if (byte >= 0xF0 && byte < 0xF5) return {byte & 0x07U, 4, true};
  return {};
}

bool isScalar(char32_t code, std::size_t size) {
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  return !surrogate && !overlong && code <= 0x10FFFF;
}

// Decodes the first character of a text that is not empty.
Character firstCharacter(std::string_view text) {
  Character character = leadingByte(static_cast<unsigned char>(text.front()));
  if (!character.valid || character.size > text.size()) return {};
  for (std::size_t i = 1; i < character.size; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80U) return {};
    character.code = (character.code << 6) | (byte & 0x3FU);
  }
  if (!isScalar(character.code, character.size)) return {};
  return character;
}

// Calls visit(character, bytes) for each character of a text.
template <class Visit>
void forEachCharacter(std::string_view text, Visit visit) {
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    visit(character, text.substr(0, character.size));
    text.remove_prefix(character.size);
  }
}

bool isPrintableAscii(char c) { return c >= 0x20 && c < 0x7F; }

// Copies a text. Printable ASCII, the bulk of most, stays as it is; every other character becomes
// what replacement(character, bytes) says.
template <class Replacement>
std::string rewritten(std::string_view text, Replacement replacement) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isPrintableAscii);
    result.append(text.begin(), end);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    if (text.empty()) break;
    const Character character = firstCharacter(text);
    result += replacement(character, text.substr(0, character.size));
    text.remove_prefix(character.size);
  }
  return result;
}

std::size_t columnsOfCharacter(const Character& character) {
  if (character.code >= 0x20 && character.code < 0x7F) return 1;
  const int width = character.valid ? wcwidth(static_cast<wchar_t>(character.code)) : -1;
  return width < 0 ? 1 : static_cast<std::size_t>(width);
}

bool isControl(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// Line and paragraph separators, and what turns the direction of writing.
bool disturbsLine(char32_t code) {
  return (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) ||
         code == 0x200E || code == 0x200F || code == 0x061C;
}

// What YAML does not take as it is.
bool isNoCharacter(char32_t code) { return code == 0xFFFE || code == 0xFFFF; }

std::string escaped(char32_t code) {
  if (code == '\n') return "\\n";
  if (code == '\r') return "\\r";
  if (code == '\t') return "\\t";
  const char* const format = code < 0x100 ? "\\x%02x" : code < 0x10000 ? "\\u%04x" : "\\U%08x";
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(code));
  return text.data();
}

}  // namespace

std::string validUtf8(std::string_view text) {
  return rewritten(text, [](const Character& character, std::string_view bytes) {
    return character.valid ? bytes : kReplacement;
  });
}

std::string printable(std::string_view text, bool utf8) {
  return rewritten(text, [utf8](const Character& character, std::string_view bytes) {
    if (!character.valid) return escaped(static_cast<unsigned char>(bytes.front()));
    const bool disturbs = isControl(character.code) || disturbsLine(character.code);
    if (disturbs || (!utf8 && character.code >= 0x80)) return escaped(character.code);
    return std::string(bytes);
  });
}

std::string harmlessJson(std::string_view document) {
  return rewritten(document, [](const Character& character, std::string_view bytes) {
    const bool harms = (character.code >= 0x7F && isControl(character.code)) ||
                       disturbsLine(character.code) || isNoCharacter(character.code);
    if (!harms) return std::string(bytes);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(character.code));
    return std::string(text.data());
  });
}

bool isControlByte(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

std::size_t columnsOf(std::string_view text) {
  std::size_t columns = 0;
  forEachCharacter(text, [&](const Character& character, std::string_view) {
    columns += columnsOfCharacter(character);
  });
  return columns;
}

std::string cutToColumns(const std::string& text, std::size_t width, bool utf8) {
  if (columnsOf(text) <= width) return text;
  const std::string_view mark = utf8 ? "…" : "..";
  if (width < columnsOf(mark)) return {};
  const std::size_t room = width - columnsOf(mark);
  std::string result;
  std::size_t columns = 0;
  forEachCharacter(text, [&](const Character& character, std::string_view bytes) {
    columns += columnsOfCharacter(character);
    if (columns <= room) result += bytes;
  });
  return result.append(mark);
}

std::string padRight(std::string text, std::size_t width) {
  const std::size_t columns = columnsOf(text);
  if (columns < width) text.append(width - columns, ' ');
  return text;
}

std::string padLeft(const std::string& text, std::size_t width) {
  const std::size_t columns = columnsOf(text);
  return columns < width ? std::string(width - columns, ' ') + text : text;
}

std::string wrapped(std::string_view text, std::size_t width, const LineStarts& starts) {
  std::size_t column = starts.first;
  std::string result;
  for (bool isFirst = true;; isFirst = false) {
    const std::string_view word = text.substr(0, text.find(' '));
    const std::size_t columns = columnsOf(word);
    if (!isFirst && column + 1 + columns <= width) {
      result += ' ';
      ++column;
    } else if (!isFirst) {
      result.append("\n").append(starts.others, ' ');
      column = starts.others;
    }
    result += word;
    column += columns;
    if (word.size() == text.size()) return result;
    text.remove_prefix(word.size() + 1);
  }
}

std::string humanSize(std::uint64_t kib) {
  constexpr std::array<const char*, 6> kUnits{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  constexpr std::uint64_t kStep = 1024;
  std::size_t unit = 0;
  std::uint64_t whole = kib;
  std::uint64_t rest = 0;
  for (; whole >= kStep && unit + 1 < kUnits.size(); ++unit) {
    rest = whole % kStep;
    whole /= kStep;
  }
  // In integers, rounded down: a size never reads as more than it is.
  const std::uint64_t tenths = rest * 10 / kStep;
  std::string text = std::to_string(whole);
  if (tenths != 0 && whole < 100) text += "." + std::to_string(tenths);
  return text + " " + kUnits[unit];
}

std::string grouped(std::uint64_t number) {
  const std::string digits = std::to_string(number);
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
    text += digits[i];
  }
  return text;
}

std::string counted(std::uint64_t count, const std::string& noun) {
  return grouped(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
  std::string text;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (!text.empty()) text += between;
    text += part;
  }
  return text;
}

}  // namespace kestrelvisor::ctl
