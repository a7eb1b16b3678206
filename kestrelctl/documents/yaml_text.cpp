#include "kestrelctl/documents/yaml_text.h"

#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kStep = 2;

// A key of letters, and of "-" between them, needs no quotes.
std::string keyOf(const std::string& quoted) {
  constexpr const char* kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz-";
  const std::string key = quoted.substr(1, quoted.size() - 2);
  const bool isPlain =
      !key.empty() && key.front() != '-' && key.find_first_not_of(kPlain) == std::string::npos;
  return isPlain ? key : quoted;
}

}  // namespace

std::string YamlText::add(std::string_view json) {
  for (const char c : json) take(c);
  return std::exchange(text_, {});
}

void YamlText::take(char c) {
  if (isInQuotes_) return takeQuoted(c);
  switch (c) {
    case '{':
    case '[':
      return beginNested(c == '[');
    case '}':
    case ']':
      return endNested();
    case ':':
      return endKey();
    case ',':
      return endScalar();
    case ' ':
    case '\n':
      return;
    default:
      scalar_ += c;
      isInQuotes_ = c == '"';
  }
}

void YamlText::takeQuoted(char c) {
  scalar_ += c;
  isInQuotes_ = c != '"' || isEscaped_;
  isEscaped_ = c == '\\' && !isEscaped_;
}

void YamlText::beginNested(bool isList) {
  if (isInList()) beginItem();
  levels_.push_back({isList, true});
}

void YamlText::endNested() {
  endScalar();
  const Level ended = levels_.back();
  levels_.pop_back();
  if (!ended.isEmpty) return;
  const bool isBehindKey = !levels_.empty() && !isInList();
  text_ += (isBehindKey ? " " : "") + std::string(ended.isList ? "[]" : "{}") + "\n";
}

void YamlText::endKey() {
  beginItem();
  text_ += keyOf(scalar_) + ":";
  scalar_.clear();
}

void YamlText::endScalar() {
  if (scalar_.empty()) return;
  if (isInList()) {
    beginItem();
  } else {
    text_ += ' ';
  }
  text_ += scalar_ + "\n";
  scalar_.clear();
}

// A key or an element of a list begins. The first one of what stands in a list goes on in the line
// of the list; behind a key it begins a line of its own.
void YamlText::beginItem() {
  Level& level = levels_.back();
  const bool isNested = levels_.size() > 1;
  const bool isBehindDash = isNested && levels_[levels_.size() - 2].isList;
  if (level.isEmpty && isNested && !isBehindDash) text_ += '\n';
  if (!level.isEmpty || !isBehindDash) text_.append((levels_.size() - 1) * kStep, ' ');
  if (level.isList) text_ += "- ";
  level.isEmpty = false;
}

}  // namespace kestrelvisor::ctl
