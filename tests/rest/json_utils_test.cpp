#include "rest/json_utils.h"

#include "tests/support/test_headers.h"

#include <atomic>
#include <thread>

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

TEST(JsonReader, KeepsNoComments) {
  Json::Value root;

  EXPECT_TRUE(CJsonUtils::StringToJson("/* head */ [1] // end", root));

  EXPECT_FALSE(root.hasComment(Json::commentBefore));
  EXPECT_FALSE(root.hasComment(Json::commentAfterOnSameLine));
  EXPECT_FALSE(root.hasComment(Json::commentAfter));
}

TEST(JsonReader, AcceptsAnyRoot) {
  for (const char* text : {"null", "[]", "7", "\"text\"", "true"}) {
    Json::Value root;
    EXPECT_TRUE(CJsonUtils::StringToJson(text, root)) << text;
  }
}

// One reader serves many texts.

TEST(JsonReader, ReadsTheNextTextAfterAnyThatItRefused) {
  for (const std::string& refused : {nested(201), std::string("{"), std::string("[1e999,{]")}) {
    Json::Value root;
    EXPECT_FALSE(CJsonUtils::StringToJson(refused, root));
    ASSERT_TRUE(CJsonUtils::StringToJson("{\"a\":[1]}", root));
    EXPECT_EQ(root["a"][0].asInt(), 1);
  }
}

TEST(JsonReader, KeepsNothingOfOneTextForTheNext) {
  Json::Value root;
  ASSERT_TRUE(CJsonUtils::StringToJson("/* before */ [1] // behind", root));
  EXPECT_FALSE(CJsonUtils::StringToJson("// at the end of a text that is none", root));
  Json::Value next;
  ASSERT_TRUE(CJsonUtils::StringToJson("[2]", next));
  EXPECT_EQ(kestrelvisor::writeJson(Json::StreamWriterBuilder(), next), "[\n\t2\n]");
}

TEST(JsonReader, ReadsInSeveralThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  const auto read = [&wrong](int thread) {
    for (int text = 0; text < 500; ++text) {
      const int number = thread * 1000 + text;
      Json::Value root;
      const bool good = CJsonUtils::StringToJson("{\"n\":[" + std::to_string(number) + "]}", root);
      if (!good || root["n"][0].asInt() != number) ++wrong;
    }
  };
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) threads.emplace_back(read, thread);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
