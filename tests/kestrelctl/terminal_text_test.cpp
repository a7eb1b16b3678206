#include "kestrelctl/terminal_text.h"

#include "tests/support/test_headers.h"

namespace kestrelvisor::ctl::test {
namespace {

TEST(TerminalText, ReplacesEachByteThatIsNoUtf8) {
  EXPECT_EQ(validUtf8("a\xff\xc3"), "a\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(validUtf8("\xc0\xaf"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // overlong
  EXPECT_EQ(validUtf8("\xf4\x90\x80\x80").size(), 4U * 3U);      // beyond Unicode
  EXPECT_EQ(validUtf8("\xc3\xb8 \xe2\x82\xac \xf0\x9f\x98\x80"),
            "\xc3\xb8 \xe2\x82\xac \xf0\x9f\x98\x80");
}

TEST(TerminalText, EscapesWhatControlsATerminal) {
  EXPECT_EQ(printable("a\x1b[0m\n\t\r\x7f", true), "a\\x1b[0m\\n\\t\\r\\x7f");
  EXPECT_EQ(printable("\xc2\x9b", true), "\\x9b");
  EXPECT_EQ(printable("\xe2\x80\xae", true), "\\u202e");
  EXPECT_EQ(printable("\xff", true), "\\xff");
}

TEST(TerminalText, KeepsLettersWhereTheTerminalHasThem) {
  EXPECT_EQ(printable("Troms\xc3\xb8", true), "Troms\xc3\xb8");
  EXPECT_EQ(printable("Troms\xc3\xb8 \xf0\x9f\x98\x80", false), "Troms\\xf8 \\U0001f600");
}

TEST(TerminalText, BreaksLinesAtBlanks) {
  EXPECT_EQ(wrapped("", 5), "");
  EXPECT_EQ(wrapped("one two", 7), "one two");
  EXPECT_EQ(wrapped("one two three", 7), "one two\nthree");
  EXPECT_EQ(wrapped("one two three", 8), "one two\nthree");
  EXPECT_EQ(wrapped("a word-that-is-longer b", 5), "a\nword-that-is-longer\nb");
  EXPECT_EQ(wrapped("word-that-is-longer", 5), "word-that-is-longer");
}

TEST(TerminalText, LinesBehindTheFirstBeginInTheirOwnColumn) {
  EXPECT_EQ(wrapped("one two three", 9, {4, 2}), "one\n  two\n  three");
  EXPECT_EQ(wrapped("one two three", 11, {4, 4}), "one two\n    three");
  EXPECT_EQ(wrapped("word-that-is-longer b", 9, {4, 2}), "word-that-is-longer\n  b");
}

TEST(TerminalText, BreaksAtColumnsNotAtBytes) {
  EXPECT_EQ(wrapped("älter öfter über", 11), "älter öfter\nüber");
}

TEST(TerminalText, PadsByColumns) {
  EXPECT_EQ(padRight("\xc3\xb8", 3), "\xc3\xb8  ");
  EXPECT_EQ(padLeft("12", 4), "  12");
  EXPECT_EQ(padLeft("12345", 4), "12345");
}

TEST(TerminalText, CutsWhatIsTooWide) {
  EXPECT_EQ(cutToColumns("machine", 7, true), "machine");
  EXPECT_EQ(cutToColumns("machine", 6, true), "machi\xe2\x80\xa6");
  EXPECT_EQ(cutToColumns("machine", 6, false), "mach..");
  EXPECT_EQ(cutToColumns("", 0, true), "");
  EXPECT_EQ(cutToColumns("machine", 1, true), "\xe2\x80\xa6");
  EXPECT_EQ(cutToColumns("machine", 0, true), "");
  EXPECT_EQ(cutToColumns("machine", 1, false), "");
}

TEST(TerminalText, ShowsSizesInUnitsThatFit) {
  EXPECT_EQ(humanSize(0), "0 KiB");
  EXPECT_EQ(humanSize(1023), "1023 KiB");
  EXPECT_EQ(humanSize(1024), "1 MiB");
  EXPECT_EQ(humanSize(80ULL << 20), "80 GiB");
  EXPECT_EQ(humanSize(1536ULL << 20), "1.5 TiB");
  EXPECT_EQ(humanSize(~0ULL), "16383 EiB");
}

TEST(TerminalText, GroupsDigits) {
  EXPECT_EQ(grouped(0), "0");
  EXPECT_EQ(grouped(999), "999");
  EXPECT_EQ(grouped(1000), "1,000");
  EXPECT_EQ(grouped(1234567), "1,234,567");
}

TEST(TerminalText, CountsInWords) {
  EXPECT_EQ(counted(0, "disk"), "0 disks");
  EXPECT_EQ(counted(1, "disk"), "1 disk");
}

TEST(TerminalText, JoinsWhatIsNotEmpty) {
  EXPECT_EQ(joined({"", "1 disk", "", "2 hosts"}), "1 disk, 2 hosts");
  EXPECT_EQ(joined({}), "");
}

TEST(TerminalText, EscapesInJsonWhatWouldControlATerminal) {
  EXPECT_EQ(harmlessJson("\x7f \xC2\x9B \xE2\x80\xAE \xE2\x80\xA8"),
            R"(\u007f \u009b \u202e \u2028)");
}

TEST(TerminalText, EscapesWhatYamlDoesNotTake) {
  EXPECT_EQ(harmlessJson("\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF"), "\xEF\xBF\xBD\\ufffe\\uffff");
}

TEST(TerminalText, KeepsTheRestOfJson) {
  const std::string document = "{\n  \"name\" : \"\xC3\xA9 \xF0\x9F\x98\x80 \\n\"\n}\n";
  EXPECT_EQ(harmlessJson(document), document);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
