#include "kestrelctl/shell_line.h"

#include "kestrelctl/terminal_text.h"

#include <string_view>

namespace kestrelvisor::ctl {
namespace {

constexpr const char* kGoesOn = " \\";
constexpr std::size_t kGoesOnColumns = 2;
constexpr const char* kIndent = "      ";

bool isOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

std::string quoted(const std::string& word) {
  constexpr std::string_view kHarmless =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:=@%+,[]";
  if (!word.empty() && word.find_first_not_of(kHarmless) == std::string::npos) return word;
  return inSingleQuotes(word);
}

// What stands on one line: a word, or an option and its value.
std::vector<std::string> piecesOf(const std::vector<std::string>& words) {
  std::vector<std::string> pieces;
  bool takesValue = false;
  for (const std::string& word : words) {
    if (takesValue && !isOption(word)) {
      pieces.back() += " " + quoted(word);
      takesValue = false;
      continue;
    }
    pieces.push_back(quoted(word));
    takesValue = isOption(word);
  }
  return pieces;
}

}  // namespace

// A quote ends the quoted text, stands for itself and begins it anew.
std::string inSingleQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

std::vector<std::string> shellLines(const std::vector<std::string>& words, std::size_t columns) {
  std::vector<std::string> lines;
  for (const std::string& piece : piecesOf(words)) {
    if (lines.empty()) {
      lines.push_back(piece);
    } else if (columnsOf(lines.back()) + 1 + columnsOf(piece) + kGoesOnColumns <= columns) {
      lines.back() += " " + piece;
    } else {
      lines.back() += kGoesOn;
      lines.push_back(kIndent + piece);
    }
  }
  return lines;
}

}  // namespace kestrelvisor::ctl
