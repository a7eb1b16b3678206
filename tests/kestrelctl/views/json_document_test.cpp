#include "kestrelctl/views/json_document.h"

#include "kestrelctl/documents/json_text.h"
#include "tests/kestrelctl/json_answer.h"

namespace kestrelvisor::ctl::test {
namespace {

Json::Value person(const std::string& name) {
  Json::Value value;
  value["name"] = name;
  value["friends"] = Json::Value(Json::arrayValue);
  value["address"]["lines"].append("one\ntwo");
  value["address"]["number"] = 7;
  return value;
}

std::string documentOf(const Json::Value& members, const std::vector<std::string>& names) {
  std::string text;
  const Sink sink = [&](std::string_view piece) { text += piece; };
  JsonDocument document(sink);
  document.addMembers(members);
  document.addList("people", names, person);
  document.finish();
  return text;
}

// What jsonText makes of a whole document.
std::string wholeDocument(Json::Value members, const std::vector<std::string>& names) {
  members["people"] = Json::Value(Json::arrayValue);
  for (const std::string& name : names) members["people"].append(person(name));
  return jsonText(members, OutputFormat::json);
}

TEST(JsonDocument, HasTheBytesOfAWholeOne) {
  Json::Value members;
  members["count"] = 2;
  members["empty"] = Json::Value(Json::objectValue);
  members["inner"]["deep"]["deeper"] = "text";
  members["list"].append(3);
  members["nothing"] = Json::Value();

  EXPECT_EQ(documentOf(members, {"Ada", "Grace"}), wholeDocument(members, {"Ada", "Grace"}));
}

TEST(JsonDocument, HasTheBytesOfAWholeOneWithAnEmptyList) {
  EXPECT_EQ(documentOf(Json::Value(Json::objectValue), {}),
            wholeDocument(Json::Value(Json::objectValue), {}));
}

TEST(JsonDocument, LetsNoTextControlTheTerminal) {
  const std::string text = documentOf(Json::Value(Json::objectValue), {"A\xC2\x9B"
                                                                       "da"});

  EXPECT_NE(text.find("A\\u009bda"), std::string::npos) << text;
}

TEST(JsonDocument, WithoutMembersIsEmpty) {
  std::string text;
  const Sink sink = [&](std::string_view piece) { text += piece; };
  JsonDocument document(sink);
  document.finish();

  EXPECT_EQ(text, "{}\n");
}

TEST(JsonDocument, IsHandedOnInPieces) {
  const std::vector<std::string> names(2000, "Ada");
  std::size_t largest = 0;
  std::size_t total = 0;

  const Sink sink = [&](std::string_view piece) {
    largest = std::max(largest, piece.size());
    total += piece.size();
  };
  JsonDocument document(sink);
  document.addList("people", names, person);
  document.finish();

  EXPECT_LT(largest, 70000U);
  EXPECT_GT(total, 200000U);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
