#include "vrmsim/help_text.h"

#include "vrmsim/fault_keys.h"

#include <sstream>

namespace kestrelvisor::vrmsim {
namespace {

constexpr std::size_t kKeyColumn = 25;

const char* titleOf(FaultKeyKind kind) {
  switch (kind) {
    case FaultKeyKind::kMatch:
    case FaultKeyKind::kRequestMatch:
      return "Which requests or connections";
    case FaultKeyKind::kState:
    case FaultKeyKind::kRequestState:
      return "What happens to the manager, before it answers";
    default:
      return "What goes wrong with the answer";
  }
}

std::string entryOf(const FaultKey& key) {
  std::string words = std::string("  ") + key.name + (*key.value == '\0' ? "" : "=") + key.value;
  words.resize(kKeyColumn, ' ');
  return words + wrapped(key.help, kHelpWidth - kKeyColumn, kKeyColumn) + "\n";
}

}  // namespace

std::string wrapped(const std::string& text, std::size_t width, std::size_t indent) {
  std::istringstream words(text);
  std::string result;
  std::size_t used = 0;
  for (std::string word; words >> word; used += word.size() + 1) {
    const bool breaks = used != 0 && used + word.size() > width;
    if (breaks) used = 0;
    result += breaks ? "\n" + std::string(indent, ' ') : used != 0 ? " " : "";
    result += word;
  }
  return result;
}

std::string faultHelp() {
  std::string text =
      "A fault rule is a text of words key=value; a value with blanks stands in double\n"
      "quotes. A request meets the oldest rule whose turn it is. More: docs/faults.md\n";
  std::string title;
  for (const FaultKey& key : faultKeys()) {
    if (title != titleOf(key.kind)) {
      title = titleOf(key.kind);
      text += "\n" + title + ":\n";
    }
    text += entryOf(key);
  }
  return text;
}

}  // namespace kestrelvisor::vrmsim
