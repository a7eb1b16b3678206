#include "kestrelctl/documents/yaml_text.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

std::string yamlOf(const std::string& json) { return YamlText().add(json); }

TEST(YamlText, IndentsWhatStandsInWhat) {
  EXPECT_EQ(yamlOf(R"({"a": 1, "b": {"c": [true, null, {"d": "x", "e": []}], "f": {}}})"),
            "a: 1\n"
            "b:\n"
            "  c:\n"
            "    - true\n"
            "    - null\n"
            "    - d: \"x\"\n"
            "      e: []\n"
            "  f: {}\n");
}

TEST(YamlText, QuotesTexts) {
  EXPECT_EQ(yamlOf(R"({"a": "no", "b": "1e3", "c": "", "d": "two\nlines: \"x\""})"),
            "a: \"no\"\n"
            "b: \"1e3\"\n"
            "c: \"\"\n"
            "d: \"two\\nlines: \\\"x\\\"\"\n");
}

TEST(YamlText, QuotesKeysThatAreNoWords) {
  EXPECT_EQ(yamlOf(R"({"ca-cert": 1, "": 2, "a: b": 3, "-": 4, "7": 5})"),
            "ca-cert: 1\n"
            "\"\": 2\n"
            "\"a: b\": 3\n"
            "\"-\": 4\n"
            "\"7\": 5\n");
}

TEST(YamlText, NestsListsInLists) {
  EXPECT_EQ(yamlOf("[[1, [2]], []]"),
            "- - 1\n"
            "  - - 2\n"
            "- []\n");
}

TEST(YamlText, OfNothingIsEmpty) {
  EXPECT_EQ(yamlOf("{}"), "{}\n");
  EXPECT_EQ(yamlOf("[]"), "[]\n");
}

TEST(YamlText, LeavesAloneWhatStandsInTexts) {
  EXPECT_EQ(yamlOf(R"(["{[,: ]}", "\\", "\"", "\\\"x", 1])"),
            "- \"{[,: ]}\"\n"
            "- \"\\\\\"\n"
            "- \"\\\"\"\n"
            "- \"\\\\\\\"x\"\n"
            "- 1\n");
}

TEST(YamlText, ComesInPiecesAtAnyPlace) {
  const std::string json = R"({"a" : [1, {"b" : "x\\\""}, []], "c" : {"d" : null}})";
  const std::string whole = yamlOf(json);
  for (std::size_t i = 0; i <= json.size(); ++i) {
    YamlText yaml;
    const std::string start = yaml.add(json.substr(0, i));
    EXPECT_EQ(start + yaml.add(json.substr(i)), whole) << i;
  }
}

TEST(YamlText, KeepsNumbersWhole) {
  EXPECT_EQ(yamlOf("[18446744073709551615, -1]"), "- 18446744073709551615\n- -1\n");
}

}  // namespace
}  // namespace kestrelvisor::ctl
