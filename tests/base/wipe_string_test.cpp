#include "base/wipe_string.h"

#include "tests/support/test_headers.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

bool holds(const char* bytes, std::size_t size, std::string_view secret) {
  return std::string_view(bytes, size).find(secret) != std::string_view::npos;
}

TEST(WipeString, LeavesAnEmptyText) {
  std::string secret = "correct horse battery staple";

  wipeString(secret);

  EXPECT_TRUE(secret.empty());
}

TEST(WipeString, OverwritesTheCharacters) {
  std::string secret(64, 'x');
  const char* const bytes = secret.data();

  wipeString(secret);

  EXPECT_FALSE(holds(bytes, 64, "x"));
}

TEST(WipeString, OverwritesWhatALongerValueLeftBehind) {
  std::string secret = "a long secret that came first";
  const std::size_t size = secret.size();
  secret.assign("short");
  const char* const bytes = secret.data();

  wipeString(secret);

  EXPECT_FALSE(holds(bytes, size, "first"));
}

// The optimiser may drop stores into a string that dies: the memory itself is looked at.
__attribute__((noinline)) void useASecretAndWipeIt(char* storage) {
  auto* const secret = new (storage) std::string("short-secret");
  wipeString(*secret);
  secret->~basic_string();
}

TEST(WipeString, SurvivesTheOptimiser) {
  alignas(std::string) std::array<char, sizeof(std::string)> storage{};

  useASecretAndWipeIt(storage.data());

  EXPECT_FALSE(holds(storage.data(), storage.size(), "secret"));
}

TEST(SecretString, IsWipedWhenItEnds) {
  using kestrelvisor::SecretString;
  alignas(SecretString) std::array<char, sizeof(SecretString)> storage{};
  auto* const secret = new (storage.data()) SecretString;
  *secret = "short-secret";
  ASSERT_TRUE(holds(storage.data(), storage.size(), "short-secret"));

  secret->~SecretString();

  EXPECT_FALSE(holds(storage.data(), storage.size(), "secret"));
}

TEST(SecretString, SurvivesBeingAssignedToItself) {
  kestrelvisor::SecretString secret;
  secret = "token";
  const kestrelvisor::SecretString& same = secret;

  secret = same;

  EXPECT_EQ(secret, "token");
}

TEST(WipeOnExit, WipesWhenTheScopeEnds) {
  std::string secret = "token";

  { const kestrelvisor::WipeOnExit wipe(secret); }

  EXPECT_TRUE(secret.empty());
}

}  // namespace
