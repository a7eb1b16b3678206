#include "platform/reference/wiping_allocator.h"

#include "tests/support/test_headers.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

#include <cstdlib>
#include <cstring>

namespace kestrelvisor::test {
namespace {

// Each statement runs in a process of its own, started anew.
class WipingAllocators : public ::testing::Test {
 protected:
  WipingAllocators() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  [[noreturn]] static void endWith(bool good) { std::exit(good ? 0 : 1); }
  const ::testing::ExitedWithCode good{0};
};

TEST_F(WipingAllocators, AreTakenByBothLibrariesAtTheStart) {
  EXPECT_EXIT(endWith(useWipingAllocators()), good, "");
}

TEST_F(WipingAllocators, AreStillTakenAtASecondCall) {
  EXPECT_EXIT(endWith(useWipingAllocators() && useWipingAllocators()), good, "");
}

TEST_F(WipingAllocators, AreNotTakenWhenLibcurlIsInUse) {
  EXPECT_EXIT(
      {
        curl_global_init(CURL_GLOBAL_NOTHING);
        endWith(!useWipingAllocators());
      },
      good, "");
}

TEST_F(WipingAllocators, AreNotTakenWhenOpensslIsInUse) {
  EXPECT_EXIT(
      {
        OPENSSL_free(OPENSSL_malloc(1));
        endWith(!useWipingAllocators());
      },
      good, "");
}

TEST_F(WipingAllocators, KeepWhatABlockHoldsWhenItChangesItsSize) {
  EXPECT_EXIT(
      {
        useWipingAllocators();
        auto* block = static_cast<char*>(OPENSSL_realloc(nullptr, 8));
        std::strcpy(block, "content");
        block = static_cast<char*>(OPENSSL_realloc(block, 100000));
        const bool grown = std::strcmp(block, "content") == 0;
        block = static_cast<char*>(OPENSSL_realloc(block, 8));
        const bool shrunk = std::strcmp(block, "content") == 0;
        endWith(grown && shrunk && OPENSSL_realloc(block, 0) == nullptr);
      },
      good, "");
}

TEST_F(WipingAllocators, GiveNothingForNothing) {
  EXPECT_EXIT(
      {
        useWipingAllocators();
        endWith(OPENSSL_malloc(0) == nullptr);
      },
      good, "");
}

}  // namespace
}  // namespace kestrelvisor::test
