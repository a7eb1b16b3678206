#include "platform/reference/log_line.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace kestrelvisor {
namespace {

struct LevelName {
  std::string_view text;  // five characters wide
  std::string_view json;
};
constexpr std::array<LevelName, 5> kLevels{{{"TRACE", "trace"},
                                            {"INFO ", "info"},
                                            {"NOTE ", "note"},
                                            {"WARN ", "warning"},
                                            {"ERROR", "error"}}};

const LevelName& levelName(int level) {
  return kLevels[static_cast<std::size_t>(std::clamp(level, 0, 4))];
}

// 2026-11-21T13:30:00.123Z
std::string timeText(std::chrono::system_clock::time_point time) {
  using std::chrono::days;
  using std::chrono::milliseconds;
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<milliseconds>(time - day));
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text.data();
}

struct Character {
  char32_t value;  // the byte itself when it starts no valid sequence
  std::size_t size;
  bool valid;
};

// The first character of a UTF-8 text that is not empty.
Character firstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const Character single{byte(0), 1, byte(0) < 0x80};
  const std::size_t size = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < size) return single;

  char32_t value = byte(0) & (0xFFU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) return single;
    value = (value << 6U) | (byte(i) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
  if (value < kSmallest[size] || value > 0x10FFFF || surrogate) return single;
  return {value, size, true};
}

// Whether a character could end a line or steer a terminal.
bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

void appendHex(std::string& out, const char* format, char32_t value) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(value));
  out += text.data();
}

void appendForText(std::string& out, const Character& c, std::string_view bytes) {
  if (c.valid && !isControl(c.value)) {
    out += bytes;
  } else if (c.value == '\n') {
    out += "\\n";
  } else if (c.value == '\r') {
    out += "\\r";
  } else if (c.value == '\t') {
    out += "\\t";
  } else {
    const bool isByte = !c.valid || c.value < 0x80;
    appendHex(out, isByte ? "\\x%02x" : "\\u%04x", c.value);
  }
}

void appendForJson(std::string& out, const Character& c, std::string_view bytes) {
  if (!c.valid) {
    out += "\\ufffd";
  } else if (isControl(c.value)) {
    appendHex(out, "\\u%04x", c.value);
  } else {
    if (c.value == '"' || c.value == '\\') out += '\\';
    out += bytes;
  }
}

void append(std::string& out, std::string_view text,
            void (*appendOne)(std::string&, const Character&, std::string_view)) {
  // What stands for itself in both forms: most of a text, taken over in pieces.
  const auto isPlain = [](char c) { return c >= ' ' && c < 0x7F && c != '"' && c != '\\'; };
  while (!text.empty()) {
    const auto plain = static_cast<std::size_t>(
        std::find_if_not(text.begin(), text.end(), isPlain) - text.begin());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return;
    const Character c = firstCharacter(text);
    appendOne(out, c, text.substr(0, c.size));
    text.remove_prefix(c.size);
  }
}

}  // namespace

std::string textLine(const LogRecord& record, std::chrono::system_clock::time_point time) {
  std::string line = timeText(time);
  line += ' ';
  line += levelName(record.level).text;
  line += ' ';
  append(line, record.tag, appendForText);
  line += " [" + std::to_string(record.requestId) + "] ";
  append(line, record.function, appendForText);
  line += ':' + std::to_string(record.line) + ' ';
  if (record.code != 0) line += "(code " + std::to_string(record.code) + ") ";
  append(line, record.text, appendForText);
  return line;
}

std::string jsonLine(const LogRecord& record, std::chrono::system_clock::time_point time) {
  std::string line = R"({"time":")" + timeText(time) + R"(","level":")";
  line += levelName(record.level).json;
  line += R"(","tag":")";
  append(line, record.tag, appendForJson);
  line += R"(","request":)" + std::to_string(record.requestId) + R"(,"function":")";
  append(line, record.function, appendForJson);
  line += R"(","line":)" + std::to_string(record.line);
  line += R"(,"code":)" + std::to_string(record.code) + R"(,"text":")";
  append(line, record.text, appendForJson);
  line += "\"}";
  return line;
}

}  // namespace kestrelvisor
