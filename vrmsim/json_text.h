#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

namespace kestrelvisor::vrmsim {

// Writes one JSON text front to back into a string. A page of virtual machines runs to hundreds of
// kilobytes and is asked for thousands of times, so that no document is built in between. The
// caller closes what it opens.
class JsonText {
 public:
  JsonText& open(char bracket) {
    separate();
    text_ += bracket;
    first_ = true;
    return *this;
  }

  JsonText& close(char bracket) {
    text_ += bracket;
    first_ = false;
    return *this;
  }

  // A name is a word of ours: nothing in it is escaped.
  JsonText& key(std::string_view name) {
    separate();
    text_ += '"';
    text_ += name;
    text_ += "\":";
    first_ = true;
    return *this;
  }

  // A name that came from outside, as a client's method does: escaped as a text is.
  JsonText& foreignKey(std::string_view name) {
    separate();
    quote(name);
    text_ += ':';
    first_ = true;
    return *this;
  }

  JsonText& value(std::string_view content) {
    separate();
    quote(content);
    return *this;
  }

  JsonText& value(const char* content) { return value(std::string_view(content)); }

  JsonText& value(bool content) {
    separate();
    text_ += content ? "true" : "false";
    return *this;
  }

  template <std::integral Number>
  JsonText& value(Number content) {
    separate();
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, content).ptr;
    text_.append(digits, end);
    return *this;
  }

  // A value that is JSON already.
  JsonText& written(std::string_view json) {
    separate();
    text_ += json;
    return *this;
  }

  template <class Value>
  JsonText& member(std::string_view name, const Value& content) {
    return key(name).value(content);
  }

  std::string take() { return std::move(text_); }

 private:
  void separate() {
    if (!first_) text_ += ',';
    first_ = false;
  }

  void quote(std::string_view content) {
    text_ += '"';
    std::size_t written = 0;
    for (std::size_t at = 0; at < content.size(); ++at) {
      if (!isEscaped(content[at])) continue;
      text_ += content.substr(written, at - written);
      appendEscaped(content[at]);
      written = at + 1;
    }
    text_ += content.substr(written);
    text_ += '"';
  }

  static bool isEscaped(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\';
  }

  void appendEscaped(char c) {
    constexpr std::string_view kHex = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x20) {
      text_ += "\\u00";
      text_ += kHex[code >> 4];
      text_ += kHex[code & 0xF];
    } else {
      text_ += '\\';
      text_ += c;
    }
  }

  std::string text_;
  bool first_ = true;
};

}  // namespace kestrelvisor::vrmsim
