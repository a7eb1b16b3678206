#pragma once

#include <charconv>
#include <concepts>
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

  JsonText& key(std::string_view name) {
    value(name);
    text_ += ':';
    first_ = true;
    return *this;
  }

  JsonText& value(std::string_view content) {
    separate();
    text_ += '"';
    for (const char c : content) append(c);
    text_ += '"';
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

  void append(char c) {
    constexpr std::string_view kHex = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      text_ += '\\';
      text_ += c;
    } else if (code < 0x20) {
      text_ += "\\u00";
      text_ += kHex[code >> 4];
      text_ += kHex[code & 0xF];
    } else {
      text_ += c;
    }
  }

  std::string text_;
  bool first_ = true;
};

}  // namespace kestrelvisor::vrmsim
