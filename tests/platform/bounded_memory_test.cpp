#include "platform/contract/bounded_memory.h"

#include "tests/support/test_headers.h"

#include <array>
#include <new>

namespace {

TEST(BoundedCopy, CopiesUpToTheWholeTarget) {
  std::array<char, 4> target{};

  EXPECT_EQ(memcpy_s(target.data(), target.size(), "abcd", 4), 0);

  EXPECT_EQ(std::string(target.data(), 4), "abcd");
}

TEST(BoundedCopy, CopiesNothingWhenTheTargetIsTooSmall) {
  std::array<char, 4> target{"xyz"};

  EXPECT_NE(memcpy_s(target.data(), 3, "abcd", 4), 0);

  EXPECT_STREQ(target.data(), "xyz");
}

TEST(BoundedCopy, RefusesNullPointers) {
  std::array<char, 4> target{"xyz"};

  EXPECT_NE(memcpy_s(nullptr, 4, "abcd", 1), 0);
  EXPECT_NE(memcpy_s(target.data(), 4, nullptr, 1), 0);

  EXPECT_STREQ(target.data(), "xyz");
}

TEST(BoundedSet, SetsTheAskedBytesOnly) {
  std::array<char, 4> target{"xyz"};

  EXPECT_EQ(memset_s(target.data(), target.size(), 'a', 2), 0);

  EXPECT_STREQ(target.data(), "aaz");
}

TEST(BoundedSet, WritesNothingWhenTheTargetIsTooSmall) {
  std::array<char, 4> target{"xyz"};

  EXPECT_NE(memset_s(target.data(), 2, 'a', 3), 0);

  EXPECT_STREQ(target.data(), "xyz");
}

TEST(BoundedSet, RefusesANullPointer) { EXPECT_NE(memset_s(nullptr, 1, 0, 1), 0); }

struct Secret {
  char text[16];
};

// Nobody reads the object again before it ends: plain stores could be dropped here.
__attribute__((noinline)) void useASecretAndWipeIt(void* storage) {
  auto* const secret = new (storage) Secret{"correct horse"};
  memset_s(secret->text, sizeof(secret->text), 0, sizeof(secret->text));
  secret->~Secret();
}

TEST(BoundedSet, SurvivesTheOptimiser) {
  std::array<char, sizeof(Secret)> storage{};

  useASecretAndWipeIt(storage.data());

  EXPECT_EQ(std::string(storage.data(), storage.size()), std::string(sizeof(Secret), '\0'));
}

TEST(BoundedFormat, ReturnsTheNumberOfCharacters) {
  std::array<char, 8> target{};

  EXPECT_EQ(snprintf_s(target.data(), target.size(), 7, "%d-%s", 42, "abc"), 6);

  EXPECT_STREQ(target.data(), "42-abc");
}

TEST(BoundedFormat, FillsTheTargetToItsLastCharacter) {
  std::array<char, 4> target{};

  EXPECT_EQ(snprintf_s(target.data(), target.size(), 100, "%s", "abc"), 3);

  EXPECT_STREQ(target.data(), "abc");
}

TEST(BoundedFormat, LeavesAnEmptyTextWhenTheTargetIsTooSmall) {
  std::array<char, 4> target{"xyz"};

  EXPECT_LT(snprintf_s(target.data(), target.size(), 100, "%s", "abcd"), 0);

  EXPECT_STREQ(target.data(), "");
}

TEST(BoundedFormat, LeavesAnEmptyTextWhenTheCountIsTooSmall) {
  std::array<char, 16> target{"xyz"};

  EXPECT_LT(snprintf_s(target.data(), target.size(), 3, "%s", "abcd"), 0);

  EXPECT_STREQ(target.data(), "");
}

TEST(BoundedFormat, FormatsNothingIntoOneByte) {
  std::array<char, 1> target{'x'};

  EXPECT_EQ(snprintf_s(target.data(), target.size(), 0, "%s", ""), 0);

  EXPECT_EQ(target[0], '\0');
}

TEST(BoundedFormat, RefusesInvalidArguments) {
  std::array<char, 4> target{"xyz"};
  const char* const noFormat = nullptr;

  EXPECT_LT(snprintf_s(nullptr, 4, 3, "%s", "a"), 0);
  EXPECT_LT(snprintf_s(target.data(), 0, 3, "%s", "a"), 0);
  EXPECT_STREQ(target.data(), "xyz");
  EXPECT_LT(snprintf_s(target.data(), 4, 3, noFormat), 0);
  EXPECT_STREQ(target.data(), "");
}

}  // namespace
