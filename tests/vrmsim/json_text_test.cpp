#include "vrmsim/json_text.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::vrmsim {
namespace {

TEST(JsonText, SeparatesMembersAndElements) {
  JsonText text;
  text.open('{').member("a", 1).key("b").open('[').value("x").value(true).close(']').close('}');

  EXPECT_EQ(text.take(), R"({"a":1,"b":["x",true]})");
}

TEST(JsonText, EscapesTextsAndNamesFromOutside) {
  const std::string foreign = "a\"b\\c\nd";
  JsonText text;
  text.open('{').member("ours", foreign).foreignKey(foreign).value(2).foreignKey("").value(3);
  text.close('}');

  EXPECT_EQ(text.take(), R"({"ours":"a\"b\\c\u000ad","a\"b\\c\u000ad":2,"":3})");
}

}  // namespace
}  // namespace kestrelvisor::vrmsim
