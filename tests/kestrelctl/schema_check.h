#pragma once

#include "tests/vrmsim/process.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl::test {

// Validates documents against the schemas in docs/schemas, all of them by one start of the
// validator. A schema is named by its file, without ".json".
class SchemaCheck {
 public:
  void addDocument(const std::string& schema, const std::string& text) {
    add(schema, text, ".json");
  }
  // A document on each line.
  void addLines(const std::string& schema, const std::string& text) { add(schema, text, ".jsonl"); }

  // A line for each document that does not conform; empty when all do.
  std::string problems() const {
    vrmsim::test::Process validator(KESTRELCTL_VALIDATE, arguments_);
    std::string text = validator.restOfOutput() + validator.errors();
    const int status = validator.wait();
    while (!text.empty() && text.back() == '\n') text.pop_back();
    if ((status != 0) == text.empty()) return "the validator ended with " + std::to_string(status);
    return text;
  }

 private:
  void add(const std::string& schema, const std::string& text, const std::string& ending) {
    const std::string name = std::to_string(arguments_.size()) + ending;
    arguments_.push_back(schema + "=" + folder_.write(name, text));
  }

  vrmsim::test::TemporaryFolder folder_;
  std::vector<std::string> arguments_{KESTRELCTL_SCHEMAS};
};

}  // namespace kestrelvisor::ctl::test
