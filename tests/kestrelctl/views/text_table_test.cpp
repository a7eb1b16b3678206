#include "kestrelctl/views/text_table.h"

#include "kestrelctl/terminal_text.h"
#include "tests/support/test_headers.h"

#include <clocale>

namespace kestrelvisor::ctl::test {
namespace {

using Cells = TextTable::Cells;

Rendering ofWidth(std::size_t columns) { return {false, true, columns}; }

TextTable machines() {
  TextTable table({{"MACHINE"}, {"GUEST"}, {"DISKS", Cells::number}});
  table.addRow({"a-machine-with-a-long-name", "Debian", "2"});
  table.addRow({"web", "a guest system of many words", "12"});
  return table;
}

TEST(TextTable, StandsInColumnsUnderHeadings) {
  EXPECT_EQ(machines().cut(ofWidth(80)),
            "MACHINE                     GUEST                         DISKS\n"
            "a-machine-with-a-long-name  Debian                            2\n"
            "web                         a guest system of many words     12\n");
}

TEST(TextTable, CutsTheWidestTextsFirst) {
  EXPECT_EQ(machines().cut(ofWidth(40)),
            "MACHINE          GUEST             DISKS\n"
            "a-machine-with…  Debian                2\n"
            "web              a guest system …     12\n");
}

TEST(TextTable, CutsWithPointsOutsideUtf8) {
  EXPECT_NE(machines().cut({false, false, 40}).find("a-machine-wit..  Debian"), std::string::npos);
}

TEST(TextTable, NumbersStayWholeHoweverNarrow) {
  EXPECT_EQ(machines().cut(ofWidth(1)),
            "MACHI…  GUEST   DISKS\n"
            "a-mac…  Debian      2\n"
            "web     a gue…     12\n");
}

TEST(TextTable, UncutIsAsWideAsItsTexts) {
  EXPECT_EQ(machines().uncut(ofWidth(20)), machines().cut(ofWidth(80)));
}

TEST(TextTable, WithoutABoundNothingIsCut) {
  EXPECT_EQ(machines().cut({false, true, Rendering::kUnbounded}), machines().uncut(ofWidth(20)));
}

TEST(TextTable, TextOfAnyLengthMovesTheOthersNotApart) {
  const std::string hostile(100000, 'x');
  TextTable table = machines();
  table.addRow({hostile, hostile, "3"});

  const std::string text = table.uncut(ofWidth(80));

  EXPECT_THAT(text, ::testing::StartsWith(machines().uncut(ofWidth(80))));
  EXPECT_THAT(text, ::testing::EndsWith(hostile + "  " + hostile + "      3\n"));
}

TEST(TextTable, TextOfAnyLengthIsCutWhereTheScreenEnds) {
  TextTable table = machines();
  table.addRow({std::string(100000, 'x'), "Debian", "3"});

  EXPECT_LT(table.cut(ofWidth(80)).size(), 5 * 85U);
}

TEST(TextTable, EmptyCellsLeaveNoBlanksAtTheEndOfALine) {
  TextTable table({{"ONE"}, {"TWO"}});
  table.addRow({"a", ""});

  EXPECT_EQ(table.cut(ofWidth(80)), "ONE  TWO\na\n");
}

TEST(TextTable, MarksItsHeadingsInColour) {
  TextTable table({{"ONE"}});
  table.addRow({"a"});

  EXPECT_EQ(table.cut({true, true, 80}), "\x1b[1mONE\x1b[0m\na\n");
}

// Columns of characters depend on the process's locale.
class WideCharacters : public ::testing::Test {
 protected:
  WideCharacters() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
  ~WideCharacters() override { std::setlocale(LC_CTYPE, "C"); }

  const std::string wide = "仮想マシン";  // five characters, ten columns
};

TEST_F(WideCharacters, CountTwiceInATable) {
  TextTable table({{"NAME"}, {"GUEST"}});
  table.addRow({wide, "Debian"});
  table.addRow({"web", "Debian"});

  EXPECT_EQ(table.cut(ofWidth(80)), "NAME        GUEST\n" + wide +
                                        "  Debian\n"
                                        "web         Debian\n");
}

TEST_F(WideCharacters, AreCutBetweenCharacters) {
  EXPECT_EQ(cutToColumns(wide, 10, true), wide);
  EXPECT_EQ(cutToColumns(wide, 9, true), "仮想マシ…");
  EXPECT_EQ(cutToColumns(wide, 8, true), "仮想マ…");
  EXPECT_EQ(columnsOf(cutToColumns(wide, 8, true)), 7U);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
