#include "rest/json_utils.h"

#include "tests/support/test_headers.h"

namespace {

std::string nested(int levels) {
  const auto count = static_cast<std::size_t>(levels);
  return std::string(count, '[') + std::string(count, ']');
}

TEST(JsonReader, ReadsUpToTwoHundredLevels) {
  Json::Value root;

  EXPECT_TRUE(CJsonUtils::StringToJson(nested(200), root));
  EXPECT_FALSE(CJsonUtils::StringToJson(nested(201), root));
  EXPECT_FALSE(CJsonUtils::StringToJson(nested(100000), root));
}

TEST(JsonReader, CountsObjectsAsLevelsToo) {
  std::string text = "1";
  for (int level = 0; level < 201; ++level) text = "{\"a\":" + text + "}";
  Json::Value root;

  EXPECT_FALSE(CJsonUtils::StringToJson(text, root));
}

TEST(JsonReader, RefusesWhatIsNoJson) {
  for (const char* text : {"", " ", "<html>", "{", "{\"a\"", "{\"a\":}", "[1", "nul", "\"open"}) {
    Json::Value root;
    EXPECT_FALSE(CJsonUtils::StringToJson(text, root)) << text;
  }
}

TEST(JsonReader, AcceptsTrailingText) {
  Json::Value root;

  EXPECT_TRUE(CJsonUtils::StringToJson("{\"a\":1} and more", root));

  EXPECT_EQ(root["a"].asInt(), 1);
}

TEST(JsonReader, AcceptsCommentsAndTrailingCommas) {
  Json::Value root;

  EXPECT_TRUE(CJsonUtils::StringToJson("/* head */ {\"a\":[1,2,],} // end", root));

  EXPECT_EQ(root["a"].size(), 2U);
}

TEST(JsonReader, AcceptsAnyRoot) {
  for (const char* text : {"null", "[]", "7", "\"text\"", "true"}) {
    Json::Value root;
    EXPECT_TRUE(CJsonUtils::StringToJson(text, root)) << text;
  }
}

}  // namespace
