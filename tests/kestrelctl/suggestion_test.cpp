#include "kestrelctl/suggestion.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

const std::vector<std::string> kCommands{"verify", "scan", "disable-cbt", "encrypt-password"};

TEST(Suggestion, FindsTypingErrors) {
  EXPECT_EQ(nearestWord("scna", kCommands), "scan");
  EXPECT_EQ(nearestWord("verfy", kCommands), "verify");
  EXPECT_EQ(nearestWord("disablecbt", kCommands), "disable-cbt");
}

TEST(Suggestion, FindsBeginnings) {
  EXPECT_EQ(nearestWord("enc", kCommands), "encrypt-password");
  EXPECT_EQ(nearestWord("disable", kCommands), "disable-cbt");
}

TEST(Suggestion, FindsNothingFarAway) {
  EXPECT_EQ(nearestWord("frobnicate", kCommands), "");
  EXPECT_EQ(nearestWord("", kCommands), "");
  EXPECT_EQ(nearestWord(std::string(100000, 'x'), kCommands), "");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
