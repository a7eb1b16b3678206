#include "kestrelctl/settings/toml_nesting.h"

#include <algorithm>
#include <string>

namespace kestrelvisor::ctl {
namespace {

// Behind the text in quotes that begins at a place. One that does not end in its line ends there.
std::size_t behindText(std::string_view toml, std::size_t at) {
  const char quote = toml[at];
  const std::string three(3, quote);
  const bool hasLines = toml.substr(at, three.size()) == three;
  const std::string_view end = hasLines ? std::string_view(three) : toml.substr(at, 1);
  for (at += end.size(); at < toml.size(); ++at) {
    if (toml[at] == '\n' && !hasLines) return at;
    if (toml[at] == '\\' && quote == '"') {
      ++at;
    } else if (toml.substr(at, end.size()) == end) {
      return at + end.size();
    }
  }
  return toml.size();
}

}  // namespace

std::size_t deepestNesting(std::string_view toml) {
  std::size_t open = 0;
  std::size_t dots = 0;
  std::size_t deepest = 0;
  for (std::size_t at = 0; at < toml.size();) {
    const char c = toml[at];
    if (c == '"' || c == '\'') {
      at = behindText(toml, at);
      continue;
    }
    if (c == '#') {
      at = std::min(toml.find('\n', at), toml.size());
      continue;
    }
    if (c == '.') ++dots;
    if (c == '\n' || c == '=' || c == ',') dots = 0;
    if (c == '[' || c == '{') ++open;
    if ((c == ']' || c == '}') && open > 0) --open;
    deepest = std::max(deepest, open + dots);
    ++at;
  }
  return deepest;
}

}  // namespace kestrelvisor::ctl
