#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Spells a document of JSON, an object or a list, in YAML 1.2. Texts stay in their double quotes,
// so that none is taken for a number, a date or a truth. It comes piece by piece, so that a large
// one never stands in memory whole.
class YamlText {
 public:
  // Takes the next piece of the document, which must be good JSON. Returns the YAML that is now
  // known.
  std::string add(std::string_view json);

 private:
  struct Level {
    bool isList;
    bool isEmpty;
  };

  void take(char c);
  void takeQuoted(char c);
  void beginNested(bool isList);
  void endNested();
  void endKey();
  void endScalar();
  void beginItem();
  bool isInList() const { return !levels_.empty() && levels_.back().isList; }

  std::string text_;           // known and not yet handed on
  std::string scalar_;         // what is being read: a text, a number or a word
  std::vector<Level> levels_;  // the innermost last
  bool isInQuotes_ = false;
  bool isEscaped_ = false;
};

}  // namespace kestrelvisor::ctl
