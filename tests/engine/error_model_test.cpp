#include "engine/error_model.h"

#include "engine/kestrelvisor_public.h"
#include "tests/support/test_headers.h"

namespace {

struct Row {
  std::int32_t number;
  std::string code;
};

const Row kRows[] = {
    {0, "200"},
    {1138754054, "connectfailed"},
    {1080000001, "2406"},
    {1080000002, "2405"},
    {1080000003, "2407"},
    {1138754051, "10100101"},
    {1138754051, "10100103"},
    {1138754053, "10100113"},
    {1138754053, "10100116"},
    {1138754065, "10100117"},
    {1077949019, "10100112"},
    {0, "10100110"},
    {1138754052, "10100109"},
    {1138754056, "10100108"},
    {1077949019, "10000002"},
    {1138754054, "1005"},
    {1138754054, "404"},
    {1138754054, "2001"},
    {1138754054, "2000"},
    {1138754061, "1006"},
    {1138754062, "10000001"},
    {1138754063, "10100307"},
};
constexpr std::size_t kRowCount = std::size(kRows);

class StateTableTest : public ::testing::TestWithParam<std::size_t> {};

TEST_P(StateTableTest, HoldsTheRowAtItsPlace) {
  const Row& row = kRows[GetParam()];

  EXPECT_EQ(vrmAviaryStateTable[GetParam()].number, row.number);
  EXPECT_EQ(vrmAviaryStateTable[GetParam()].codeText, row.code);
}

TEST_P(StateTableTest, GivesTheNumberOfTheCode) {
  const Row& row = kRows[GetParam()];

  EXPECT_EQ(KestrelVisorPublic::getAviaryStateCode(row.code), row.number);
}

INSTANTIATE_TEST_SUITE_P(Row, StateTableTest, ::testing::Range(std::size_t{0}, kRowCount));

TEST(StateTable, HasTwentyTwoRowsAndNoMore) {
  EXPECT_EQ(kRowCount, 22U);
  EXPECT_EQ(std::size(vrmAviaryStateTable), kRowCount);
}

TEST(StateTable, CodesOutsideItGiveTheDefault) {
  for (const std::string code : {"00000000", "", "20", "2000 ", " 200", "Connectfailed", "2002"}) {
    EXPECT_EQ(KestrelVisorPublic::getAviaryStateCode(code), 1077949019) << '"' << code << '"';
  }
}

TEST(StateTable, ComparesLengthAndBytes) {
  EXPECT_EQ(KestrelVisorPublic::getAviaryStateCode(std::string("200\0", 4)), 1077949019);
}

}  // namespace
