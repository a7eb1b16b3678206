#include "rest/rewriting.h"

#include "rest/json_utils.h"
#include "tests/support/grouping_locale.h"
#include "tests/support/test_headers.h"

#include <array>
#include <clocale>
#include <random>
#include <string>

namespace {

using kestrelvisor::survivesRewriting;

std::string joined(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text += static_cast<char>(byte);
  return text;
}

// What writing a document out and parsing it again makes of it.
Json::Value rewritten(const Json::Value& document) {
  Json::Value again;
  EXPECT_TRUE(CJsonUtils::StringToJson(
      kestrelvisor::writeJson(Json::StreamWriterBuilder(), document), again));
  return again;
}

// Tells more than a comparison of documents, for which -0.0 is 0.0.
std::string withoutComments(const Json::Value& document) {
  Json::StreamWriterBuilder builder;
  builder["commentStyle"] = "None";
  return kestrelvisor::writeJson(builder, document);
}

// Well-formed UTF-8, by the definition: decoded, in range, no surrogate, no shorter form.
bool isUtf8(std::string_view text) {
  constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  std::size_t at = 0;
  while (at < text.size()) {
    const auto first = static_cast<unsigned char>(text[at]);
    std::size_t size = 1;
    std::uint32_t code = first;
    if (first >= 0x80) {
      size = first >> 5 == 6 ? 2 : first >> 4 == 14 ? 3 : first >> 3 == 30 ? 4 : 0;
      if (size == 0 || at + size > text.size()) return false;
      code = first & (0x7FU >> size);
    }
    for (std::size_t next = 1; next < size; ++next) {
      const auto byte = static_cast<unsigned char>(text[at + next]);
      if ((byte & 0xC0U) != 0x80) return false;
      code = code << 6 | (byte & 0x3FU);
    }
    if (code < kLeast.at(size) || code > 0x10FFFF || code >> 11 == 0x1B) return false;
    at += size;
  }
  return true;
}

TEST(Rewriting, LeavesPlainTextsAlone) {
  EXPECT_TRUE(survivesRewriting(""));
  EXPECT_TRUE(survivesRewriting(R"({"name":"vm-1","total":3,"list":[1.5,-2e300,null,true]})"));
  EXPECT_TRUE(survivesRewriting(R"("quoted \" \\ \/ \b \f \n \r \t \u0000 \u00e4 \uFFFF")"));
  EXPECT_TRUE(survivesRewriting("\"\x7f\x01\""));
}

// At each place of a word, and in the bytes behind the last word.
TEST(Rewriting, FindsABadByteAtAnyPlace) {
  for (std::size_t size = 1; size < 40; ++size) {
    for (std::size_t at = 0; at < size; ++at) {
      std::string text(size, 'a');
      EXPECT_TRUE(survivesRewriting(text));
      text[at] = '\xff';
      EXPECT_FALSE(survivesRewriting(text)) << size << ' ' << at;
    }
  }
}

TEST(Rewriting, TakesUtf8AsItIsDefined) {
  // Every first byte with every second, and the bytes behind them at their edges.
  constexpr std::array kEdges{0x00, 0x7F, 0x80, 0xBF, 0xC0, 0xFF};
  for (int first = 0x80; first < 0x100; ++first) {
    EXPECT_EQ(survivesRewriting(joined({first})), isUtf8(joined({first})));
    for (int second = 0; second < 0x100; ++second) {
      for (const int third : kEdges) {
        for (const std::string& text :
             {joined({first, second}), joined({first, second, third}),
              joined({first, second, third, 0x80}), joined({first, second, third, 0xC0}),
              joined({'x', first, second, third, 0xBF, 'x'})}) {
          if (text.find('\\') != std::string::npos) continue;
          ASSERT_EQ(survivesRewriting(text), isUtf8(text)) << ::testing::PrintToString(text);
        }
      }
    }
  }
}

TEST(Rewriting, RefusesAnEscapedSurrogateInEitherCase) {
  for (const char d : {'d', 'D'}) {
    for (const char second : std::string("89ABCDEFabcdef")) {
      const std::string text = std::string("\"some text \\u") + d + second + "00\"";
      EXPECT_FALSE(survivesRewriting(text)) << text;
    }
    for (const char second : std::string("01234567")) {
      const std::string text = std::string("\"some text \\u") + d + second + "ff\"";
      EXPECT_TRUE(survivesRewriting(text)) << text;
    }
  }
  EXPECT_TRUE(survivesRewriting(R"("\u0d80 \ue000 ud800 \n")"));
  EXPECT_TRUE(survivesRewriting("\"\\ud"));
}

TEST(Rewriting, RefusesWhatTheWriterRepairs) {
  for (const std::string& text : {std::string("[\"\xff\"]"), std::string("[\"\xed\xa0\x80\"]"),
                                  std::string(R"(["\udc00"])"), std::string(R"({"\uDFFF":1})")}) {
    Json::Value document;
    ASSERT_TRUE(CJsonUtils::StringToJson(text, document));
    EXPECT_NE(rewritten(document), document) << text;
    EXPECT_FALSE(survivesRewriting(text)) << text;
  }
}

TEST(Rewriting, RefusesAnythingWhereALocaleMakesOtherNumbersOfFractions) {
  Json::Value document;
  {
    // A point between groups: 1500 comes back as 1500.0, and there groups of three are wanted.
    const kestrelvisor::test::GroupingLocale locale;
    ASSERT_TRUE(CJsonUtils::StringToJson("[1.500]", document));
    const std::string text = kestrelvisor::writeJson(Json::StreamWriterBuilder(), document);
    EXPECT_FALSE(CJsonUtils::StringToJson(text, document));
    EXPECT_FALSE(survivesRewriting("[1.500]"));
  }
  EXPECT_TRUE(survivesRewriting("[1.500]"));
}

// A comma as the decimal point, or between groups.
class Numbers : public std::numpunct<char> {
 public:
  Numbers(char point, char separator) : point_(point), separator_(separator) {}

 protected:
  char do_decimal_point() const override { return point_; }
  char do_thousands_sep() const override { return separator_; }
  std::string do_grouping() const override { return "\3"; }

 private:
  char point_;
  char separator_;
};

TEST(Rewriting, HeedsTheDecimalPointAndNotASeparatorThatNoNumberHas) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new Numbers(',', ' ')));
  Json::Value document;
  ASSERT_TRUE(CJsonUtils::StringToJson("[1e300]", document));
  EXPECT_NE(rewritten(document), document);
  EXPECT_FALSE(survivesRewriting("[1e300]"));

  std::locale::global(std::locale(std::locale::classic(), new Numbers('.', ',')));
  ASSERT_TRUE(CJsonUtils::StringToJson("[1500.5,1e300]", document));
  EXPECT_EQ(rewritten(document), document);
  EXPECT_TRUE(survivesRewriting("[1500.5,1e300]"));
  std::locale::global(before);
}

// --- Random documents, always the same. ---

class TextMaker {
 public:
  explicit TextMaker(std::uint32_t seed) : random_(seed) {}

  std::string make(int depth = 0) {
    std::string text = comment();
    switch (upTo(depth > 4 ? 3 : 6)) {
      case 0:
        text += pick(kNumbers);
        break;
      case 1:
        text += quoted();
        break;
      case 2:
        text += pick(kWords);
        break;
      case 3:
      case 4:
        text += list(depth, '{', '}');
        break;
      default:
        text += list(depth, '[', ']');
    }
    return text + comment();
  }

 private:
  static constexpr std::array<const char*, 3> kWords{"null", "true", "false"};
  static constexpr std::array<const char*, 19> kNumbers{"0",
                                                        "-0",
                                                        "-0.0",
                                                        "1.0",
                                                        "0.1",
                                                        "1e3",
                                                        "1E-400",
                                                        "-1",
                                                        "5e-324",
                                                        "1.7976931348623157e308",
                                                        "2147483648",
                                                        "9223372036854775807",
                                                        "9223372036854775808",
                                                        "-9223372036854775808",
                                                        "-9223372036854775809",
                                                        "18446744073709551615",
                                                        "18446744073709551616",
                                                        "1e16",
                                                        "123456789.123456789"};
  static constexpr std::array<const char*, 14> kPieces{"a",
                                                       "\\u0000",
                                                       "\\n",
                                                       "\\\"",
                                                       "\\\\",
                                                       "\xC3\xA4",
                                                       "\xE4\xBD\xA0",
                                                       "\\uFFFD",
                                                       "\x7f",
                                                       "\\u0001",
                                                       "/",
                                                       "\xEF\xBF\xBF",
                                                       "\xF0\x9F\x98\x80",
                                                       "\xF4\x8F\xBF\xBF"};
  static constexpr std::array<const char*, 7> kRarePieces{
      "\xff",     "\\ud800\\udc00", "\\uDC00",         "\xed\xa0\x80",
      "\xC0\x80", "\\\\uD800",      "\xF4\x90\x80\x80"};
  static constexpr std::array<const char*, 4> kComments{"/* a */", "// b\n", "/* c\n d */", "//\r"};

  std::size_t upTo(std::size_t limit) { return random_() % limit; }
  template <class Table>
  std::string pick(const Table& table) {
    return table.at(upTo(table.size()));
  }
  std::string comment() { return upTo(12) == 0 ? "\n" + pick(kComments) : std::string(); }
  std::string quoted() {
    std::string text = "\"";
    for (std::size_t left = upTo(6); left > 0; --left) {
      text += upTo(60) == 0 ? pick(kRarePieces) : pick(kPieces);
    }
    return text + "\"";
  }
  std::string list(int depth, char open, char close) {
    std::string text(1, open);
    for (std::size_t left = upTo(5); left > 0; --left) {
      if (open == '{') text += quoted() + ":";
      text += make(depth + 1) + (left > 1 || upTo(8) == 0 ? "," : "");
    }
    return text + close;
  }

  std::mt19937 random_;
};

TEST(Rewriting, GivesTheSameDocumentBackWhereverItIsSaidToSurvive) {
  int survivors = 0;
  int others = 0;
  for (std::uint32_t seed = 0; seed < 4000 && !HasFailure(); ++seed) {
    const std::string text = TextMaker(seed).make();
    SCOPED_TRACE(text);
    Json::Value document;
    if (!CJsonUtils::StringToJson(text, document)) continue;
    const bool survives = survivesRewriting(text);
    ++(survives ? survivors : others);
    if (!survives) continue;
    EXPECT_EQ(withoutComments(rewritten(document)), withoutComments(document));
  }
  EXPECT_GT(survivors, 1000);
  EXPECT_GT(others, 20);
}

}  // namespace
