#include "platform/contract/request_id.h"

#include "tests/support/test_headers.h"

#include <thread>

namespace {

TEST(RequestId, KeepsWhatTheThreadSets) {
  *KCPTSP::get(TSP_RequestID) = 42;

  EXPECT_EQ(*KCPTSP::get(TSP_RequestID), 42U);

  *KCPTSP::get(TSP_RequestID) = 0;
}

TEST(RequestId, IsZeroOnAFreshThreadAndItsOwn) {
  *KCPTSP::get(TSP_RequestID) = 42;
  std::uint64_t atFirst = 1;

  std::thread other([&] {
    atFirst = *KCPTSP::get(TSP_RequestID);
    *KCPTSP::get(TSP_RequestID) = 7;
  });
  other.join();

  EXPECT_EQ(atFirst, 0U);
  EXPECT_EQ(*KCPTSP::get(TSP_RequestID), 42U);
  *KCPTSP::get(TSP_RequestID) = 0;
}

}  // namespace
