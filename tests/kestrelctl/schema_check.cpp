#include "tests/kestrelctl/schema_check.h"

#include "tests/support/test_headers.h"

#include <memory>

namespace kestrelvisor::ctl::test {
namespace {

// Holds the documents of the running test. One start of the validator for each test is enough.
class DocumentsOfTest : public ::testing::EmptyTestEventListener {
 public:
  static SchemaCheck& current() {
    // Owned by the test program from here on.
    static DocumentsOfTest* const documents = [] {
      auto* const fresh = new DocumentsOfTest;
      ::testing::UnitTest::GetInstance()->listeners().Append(fresh);
      return fresh;
    }();
    if (!documents->check_) documents->check_ = std::make_unique<SchemaCheck>();
    return *documents->check_;
  }

  void OnTestEnd(const ::testing::TestInfo&) override {
    const auto check = std::move(check_);
    if (check) {
      EXPECT_EQ(check->problems(), "");
    }
  }

 private:
  std::unique_ptr<SchemaCheck> check_;
};

}  // namespace

std::string SchemaCheck::problems() const {
  std::vector<std::string> arguments{KESTRELCTL_SCHEMAS};
  arguments.insert(arguments.end(), documents_.begin(), documents_.end());
  vrmsim::test::Process validator(KESTRELCTL_VALIDATE, arguments);
  std::string text = validator.restOfOutput() + validator.errors();
  const int status = validator.wait();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if ((status != 0) == text.empty()) return "the validator ended with " + std::to_string(status);
  return text;
}

void SchemaCheck::add(const std::string& schema, const std::string& text,
                      const std::string& ending) {
  const std::string name = std::to_string(documents_.size()) + ending;
  documents_.push_back(schema + "=" + folder_.write(name, text));
}

void expectConforms(const std::string& schema, const std::string& document) {
  DocumentsOfTest::current().addDocument(schema, document);
}

void expectLinesConform(const std::string& schema, const std::string& lines) {
  DocumentsOfTest::current().addLines(schema, lines);
}

}  // namespace kestrelvisor::ctl::test
