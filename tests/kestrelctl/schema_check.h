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
  std::string problems() const;

 private:
  void add(const std::string& schema, const std::string& text, const std::string& ending);

  vrmsim::test::TemporaryFolder folder_;
  std::vector<std::string> documents_;
};

// Every document for programs that a test gets to see passes one of these. It is validated when the
// test ends, and what does not conform to its schema fails that test.
void expectConforms(const std::string& schema, const std::string& document);
void expectLinesConform(const std::string& schema, const std::string& lines);

}  // namespace kestrelvisor::ctl::test
