#include "kestrelctl/finding/size_text.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

TEST(SizeText, UnitsOfTwoLettersCountByThousands) {
  EXPECT_EQ(bytesOfSizeText("7B"), 7.0L);
  EXPECT_EQ(bytesOfSizeText("2kB"), 2000.0L);
  EXPECT_EQ(bytesOfSizeText("3 MB"), 3e6L);
  EXPECT_EQ(bytesOfSizeText("100GB"), 1e11L);
  EXPECT_EQ(bytesOfSizeText("1tb"), 1e12L);
  EXPECT_EQ(bytesOfSizeText("1PB"), 1e15L);
}

TEST(SizeText, OtherUnitsCountBy1024) {
  EXPECT_EQ(bytesOfSizeText("1KiB"), 1024.0L);
  EXPECT_EQ(bytesOfSizeText("1M"), 1048576.0L);
  EXPECT_EQ(bytesOfSizeText("100GiB"), 107374182400.0L);
  EXPECT_EQ(bytesOfSizeText("100g"), 107374182400.0L);
  EXPECT_EQ(bytesOfSizeText("2 TiB"), 2199023255552.0L);
  EXPECT_EQ(bytesOfSizeText("1P"), 1125899906842624.0L);
}

TEST(SizeText, TakesDecimals) {
  EXPECT_EQ(bytesOfSizeText("1.5TiB"), 1649267441664.0L);
  EXPECT_EQ(bytesOfSizeText(".5k"), 512.0L);
  EXPECT_EQ(bytesOfSizeText("2.k"), 2048.0L);
}

TEST(SizeText, EverythingElseIsNoSize) {
  for (const char* text : {"", "100", "GiB", ".", ".GiB", "1.2.3GiB", "-1GiB", "1e3GiB", "1 000GiB",
                           "1XiB", "1GiBs", "1GB ", "1  GB", "1Bi", "1bb", "inf", "0x10k"}) {
    EXPECT_EQ(bytesOfSizeText(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
