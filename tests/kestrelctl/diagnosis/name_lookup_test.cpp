#include "kestrelctl/diagnosis/name_lookup.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl {
namespace {

using std::chrono::seconds;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NameLookup, AddressNeedsNone) {
  for (const char* host : {"127.0.0.1", "[::1]"}) {
    const NameLookup lookup = lookUp(host, seconds(0));
    EXPECT_TRUE(lookup.isAddress);
    EXPECT_THAT(lookup.addresses, ElementsAre(host));
    EXPECT_EQ(lookup.problem, "");
  }
}

TEST(NameLookup, OfThisMachineFindsLoopback) {
  const NameLookup lookup = lookUp("localhost", seconds(20));

  EXPECT_FALSE(lookup.isAddress);
  EXPECT_THAT(lookup.addresses, Contains(::testing::AnyOf("127.0.0.1", "[::1]")));
}

// Too long to be a name: nobody is asked.
TEST(NameLookup, OfNoNameTellsWhy) {
  const NameLookup lookup = lookUp(std::string(64, 'a') + ".example", seconds(20));

  EXPECT_THAT(lookup.addresses, IsEmpty());
  EXPECT_NE(lookup.problem, "");
  EXPECT_FALSE(lookup.timedOut);
}

}  // namespace
}  // namespace kestrelvisor::ctl
