#include "rest/json_utils.h"
#include "tests/support/test_headers.h"

// What the reader takes and what it refuses, document by document: the engine reads what a manager
// sends with it, so a change of its mind must not pass unseen.

namespace {

using namespace std::string_view_literals;

struct Document {
  const char* name;
  std::string_view text;
  std::string_view value;  // written out again without blanks; kRefused for a text it refuses
};

constexpr std::string_view kRefused = "";

std::string read(std::string_view text) {
  Json::Value root;
  if (!CJsonUtils::StringToJson(std::string(text), root)) return std::string(kRefused);
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  writer["commentStyle"] = "None";
  writer["emitUTF8"] = true;  // bytes as they are
  return Json::writeString(writer, root);
}

template <class Documents>
void expectAll(const Documents& documents) {
  for (const Document& document : documents) {
    EXPECT_EQ(read(document.text), document.value) << document.name;
  }
}

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

// Integers keep 64 bits; what is larger becomes a real, and what no real holds is refused. A sign
// alone, leading zeros and a leading plus are let through.
constexpr Document kNumbers[] = {
    {"zero", "[0]"sv, "[0]"sv},
    {"negative zero", "[-0]"sv, "[0]"sv},
    {"one digit", "[7]"sv, "[7]"sv},
    {"negative", "[-7]"sv, "[-7]"sv},
    {"largest of 32 bits", "[2147483647]"sv, "[2147483647]"sv},
    {"beyond 32 bits", "[2147483648]"sv, "[2147483648]"sv},
    {"smallest of 32 bits", "[-2147483648]"sv, "[-2147483648]"sv},
    {"largest unsigned of 32 bits", "[4294967295]"sv, "[4294967295]"sv},
    {"beyond unsigned 32 bits", "[4294967296]"sv, "[4294967296]"sv},
    {"largest of 64 bits", "[9223372036854775807]"sv, "[9223372036854775807]"sv},
    {"smallest of 64 bits", "[-9223372036854775808]"sv, "[-9223372036854775808]"sv},
    {"largest unsigned of 64 bits", "[18446744073709551615]"sv, "[18446744073709551615]"sv},
    {"beyond unsigned 64 bits", "[18446744073709551616]"sv, "[1.8446744073709552e+19]"sv},
    {"below 64 bits", "[-9223372036854775809]"sv, "[-9.2233720368547758e+18]"sv},
    {"thirty digits", "[123456789012345678901234567890]"sv, "[1.2345678901234568e+29]"sv},
    {"fraction", "[0.5]"sv, "[0.5]"sv},
    {"negative fraction", "[-0.5]"sv, "[-0.5]"sv},
    {"exponent", "[1e3]"sv, "[1000.0]"sv},
    {"upper exponent", "[1E3]"sv, "[1000.0]"sv},
    {"exponent with plus", "[1e+3]"sv, "[1000.0]"sv},
    {"negative exponent", "[1e-3]"sv, "[0.001]"sv},
    {"fraction and exponent", "[1.5e2]"sv, "[150.0]"sv},
    {"zero with exponent", "[0e1]"sv, "[0.0]"sv},
    {"real zero below nought", "[-0.0]"sv, "[-0.0]"sv},
    {"largest real", "[1.7976931348623157e308]"sv, "[1.7976931348623157e+308]"sv},
    {"too large a real", "[1e309]"sv, kRefused},
    {"too large below nought", "[-1e309]"sv, kRefused},
    {"too small a real", "[1e-400]"sv, "[0.0]"sv},
    {"many digits behind the point", "[0.1000000000000000055511151231257827]"sv,
     "[0.10000000000000001]"sv},
    {"leading zero", "[01]"sv, "[1]"sv},
    {"two zeros", "[00]"sv, "[0]"sv},
    {"negative leading zero", "[-01]"sv, "[-1]"sv},
    {"leading plus", "[+1]"sv, "[1.0]"sv},
    {"leading point", "[.5]"sv, kRefused},
    {"trailing point", "[1.]"sv, "[1.0]"sv},
    {"point before exponent", "[1.e2]"sv, "[100.0]"sv},
    {"exponent without digits", "[1e]"sv, kRefused},
    {"exponent with sign alone", "[1e+]"sv, kRefused},
    {"two signs", "[--1]"sv, kRefused},
    {"sign alone", "[-]"sv, "[0]"sv},
    {"sign and blank", "[- 1]"sv, kRefused},
    {"two points", "[1.2.3]"sv, kRefused},
    {"two exponents", "[1e2e3]"sv, kRefused},
    {"fraction in exponent", "[1e2.5]"sv, kRefused},
    {"hexadecimal", "[0x10]"sv, kRefused},
    {"separated digits", "[1,000]"sv, "[1,0]"sv},
    {"underscored", "[1_000]"sv, kRefused},
    {"letter behind", "[1a]"sv, kRefused},
    {"digits of another script", "[\357\274\221]"sv, kRefused},
    {"infinity", "[Infinity]"sv, kRefused},
    {"negative infinity", "[-Infinity]"sv, kRefused},
    {"not a number", "[NaN]"sv, kRefused},
    {"not a number in lower case", "[nan]"sv, kRefused},
    {"short infinity", "[inf]"sv, kRefused},
};

// Control characters may stand as they are. A first half of a pair wants an escape behind it, but
// not one that is its second half; a second half may stand alone.
constexpr Document kTexts[] = {
    {"empty", "[\"\"]"sv, "[\"\"]"sv},
    {"plain", "[\"abc\"]"sv, "[\"abc\"]"sv},
    {"all short escapes", "[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"]"sv, "[\"\\\"\\\\/\\b\\f\\n\\r\\t\"]"sv},
    {"slash as it is", "[\"/\"]"sv, "[\"/\"]"sv},
    {"hexadecimal escape", "[\"\\u0041\"]"sv, "[\"A\"]"sv},
    {"lower and upper digits", "[\"\\u00e9\\u00E9\"]"sv, "[\"\303\251\303\251\"]"sv},
    {"escaped NUL", "[\"a\\u0000b\"]"sv, "[\"a\\u0000b\"]"sv},
    {"escaped pair", "[\"\\ud83d\\ude00\"]"sv, "[\"\360\237\230\200\"]"sv},
    {"lone first half", "[\"\\ud83d\"]"sv, kRefused},
    {"first half and text", "[\"\\ud83dx\"]"sv, kRefused},
    {"two first halves", "[\"\\ud83d\\ud83d\"]"sv, "[\"\360\237\220\275\"]"sv},
    {"first half and another escape", "[\"\\ud83d\\u0041\"]"sv, "[\"\360\237\221\201\"]"sv},
    {"lone second half", "[\"\\ude00\"]"sv, "[\"\355\270\200\"]"sv},
    {"halves the wrong way round", "[\"\\ude00\\ud83d\"]"sv, kRefused},
    {"first half at the end of the text", "[\"\\ud83d"sv, kRefused},
    {"three digits", "[\"\\u041\"]"sv, kRefused},
    {"no digits", "[\"\\u\"]"sv, kRefused},
    {"letter among the digits", "[\"\\u00g0\"]"sv, kRefused},
    {"capital escape", "[\"\\U0041\"]"sv, kRefused},
    {"unknown escape", "[\"\\a\"]"sv, kRefused},
    {"hexadecimal escape of two digits", "[\"\\x41\"]"sv, kRefused},
    {"octal escape", "[\"\\101\"]"sv, kRefused},
    {"backslash at the end", "[\"\\"sv, kRefused},
    {"escaped quotation mark at the end", "[\"\\\"]"sv, kRefused},
    {"escaped line end", "[\"a\\\nb\"]"sv, kRefused},
    {"line feed inside", "[\"a\nb\"]"sv, "[\"a\\nb\"]"sv},
    {"tabulator inside", "[\"a\tb\"]"sv, "[\"a\\tb\"]"sv},
    {"control character inside", "[\"a\001b\"]"sv, "[\"a\\u0001b\"]"sv},
    {"delete character inside", "[\"a\177b\"]"sv, "[\"a\177b\"]"sv},
    {"NUL inside", "[\"a\000b\"]"sv, "[\"a\\u0000b\"]"sv},
    {"not closed", "[\"abc"sv, kRefused},
    {"no quotation marks", "[abc]"sv, kRefused},
    {"single quotation marks", "['abc']"sv, kRefused},
    {"single quotation marks in a key", "{'a':1}"sv, kRefused},
    {"typographic quotation marks", "[\342\200\234abc\342\200\235]"sv, kRefused},
    {"two texts side by side", "[\"a\" \"b\"]"sv, kRefused},
    {"added texts", "[\"a\"+\"b\"]"sv, kRefused},
    {"script characters as they are", "[\"\303\251\344\270\255\360\237\230\200\"]"sv,
     "[\"\303\251\344\270\255\360\237\230\200\"]"sv},
    {"escaped line separator", "[\"\\u2028\"]"sv, "[\"\342\200\250\"]"sv},
    {"last code point", "[\"\364\217\277\277\"]"sv, "[\"\364\217\277\277\"]"sv},
    {"no character", "[\"\\uffff\"]"sv, "[\"\357\277\277\"]"sv},
};

// Case counts.
constexpr Document kWords[] = {
    {"true", "[true]"sv, "[true]"sv},
    {"false", "[false]"sv, "[false]"sv},
    {"null", "[null]"sv, "[null]"sv},
    {"upper case", "[TRUE]"sv, kRefused},
    {"capitalised", "[True]"sv, kRefused},
    {"cut", "[tru]"sv, kRefused},
    {"longer", "[trues]"sv, kRefused},
    {"other nothing", "[None]"sv, kRefused},
    {"nil", "[nil]"sv, kRefused},
    {"undefined", "[undefined]"sv, kRefused},
    {"yes", "[yes]"sv, kRefused},
    {"two words", "[true false]"sv, kRefused},
    {"word and digit", "[null0]"sv, kRefused},
};

// One comma too many is let through at an end, no other.
constexpr Document kStructures[] = {
    {"empty array", "[]"sv, "[]"sv},
    {"empty object", "{}"sv, "{}"sv},
    {"blanks inside", "[ ]"sv, "[]"sv},
    {"all blanks", " \t\r\n[ \t\r\n1 \t\r\n] \t\r\n"sv, "[1]"sv},
    {"form feed as blank", "[\0141]"sv, kRefused},
    {"no-break space", "[\302\2401]"sv, kRefused},
    {"zero width space", "[\342\200\2131]"sv, kRefused},
    {"array in array", "[[[]]]"sv, "[[[]]]"sv},
    {"object in array", "[{\"a\":[{}]}]"sv, "[{\"a\":[{}]}]"sv},
    {"several elements", "[1,\"a\",null,true,{},[]]"sv, "[1,\"a\",null,true,{},[]]"sv},
    {"several members", "{\"a\":1,\"b\":\"x\",\"c\":null}"sv, "{\"a\":1,\"b\":\"x\",\"c\":null}"sv},
    {"empty key", "{\"\":1}"sv, "{\"\":1}"sv},
    {"escaped key", "{\"\\u0061\":1}"sv, "{\"a\":1}"sv},
    {"NUL in a key", "{\"a\\u0000b\":1}"sv, "{\"a\\u0000b\":1}"sv},
    {"key of blanks", "{\" \":1}"sv, "{\" \":1}"sv},
    {"key like a word", "{\"null\":null}"sv, "{\"null\":null}"sv},
    {"trailing comma in an array", "[1,]"sv, "[1]"sv},
    {"trailing comma in an object", "{\"a\":1,}"sv, "{\"a\":1}"sv},
    {"comma alone", "[,]"sv, kRefused},
    {"comma alone in an object", "{,}"sv, kRefused},
    {"leading comma", "[,1]"sv, kRefused},
    {"two commas", "[1,,2]"sv, kRefused},
    {"two commas at the end", "[1,,]"sv, kRefused},
    {"two commas in an object", "{\"a\":1,,\"b\":2}"sv, kRefused},
    {"no comma", "[1 2]"sv, kRefused},
    {"no comma between members", "{\"a\":1 \"b\":2}"sv, kRefused},
    {"no comma behind an object", "[{}{}]"sv, kRefused},
    {"semicolon", "[1;2]"sv, kRefused},
    {"colon in an array", "[\"a\":1]"sv, kRefused},
    {"no colon", "{\"a\" 1}"sv, kRefused},
    {"two colons", "{\"a\"::1}"sv, kRefused},
    {"equals sign", "{\"a\"=1}"sv, kRefused},
    {"no value", "{\"a\":}"sv, kRefused},
    {"no value before a comma", "{\"a\":,\"b\":1}"sv, kRefused},
    {"no key", "{:1}"sv, kRefused},
    {"key alone", "{\"a\"}"sv, kRefused},
    {"number as a key", "{1:1}"sv, kRefused},
    {"real as a key", "{1.5:1}"sv, kRefused},
    {"word as a key", "{null:1}"sv, kRefused},
    {"name as a key", "{a:1}"sv, kRefused},
    {"array as a key", "{[]:1}"sv, kRefused},
    {"array not closed", "["sv, kRefused},
    {"array not closed behind an element", "[1"sv, kRefused},
    {"array not closed behind a comma", "[1,"sv, kRefused},
    {"object not closed", "{"sv, kRefused},
    {"object not closed behind a key", "{\"a\""sv, kRefused},
    {"object not closed behind a colon", "{\"a\":"sv, kRefused},
    {"object not closed behind a value", "{\"a\":1"sv, kRefused},
    {"object not closed behind a comma", "{\"a\":1,"sv, kRefused},
    {"array closed as an object", "[}"sv, kRefused},
    {"object closed as an array", "{\"a\":1]"sv, kRefused},
    {"crossed ends", "[{]}"sv, kRefused},
    {"end alone", "]"sv, kRefused},
    {"end of object alone", "}"sv, kRefused},
    {"inner array not closed", "[[1]"sv, kRefused},
};

// A text without a value is refused.
constexpr Document kRoots[] = {
    {"nothing", ""sv, kRefused},
    {"blanks alone", " \n\t"sv, kRefused},
    {"null", "null"sv, "null"sv},
    {"true", "true"sv, "true"sv},
    {"false", "false"sv, "false"sv},
    {"number", "7"sv, "7"sv},
    {"negative number", "-7"sv, "-7"sv},
    {"real", "1.5"sv, "1.5"sv},
    {"text", "\"abc\""sv, "\"abc\""sv},
    {"not closed text", "\"abc"sv, kRefused},
    {"word that is none", "abc"sv, kRefused},
    {"markup", "<html><body>502</body></html>"sv, kRefused},
    {"form", "a=1&b=2"sv, kRefused},
    {"one NUL", "\000"sv, kRefused},
    {"colon", "a: 1"sv, kRefused},
    {"lone quotation mark", "\""sv, kRefused},
    {"asterisk", "*"sv, kRefused},
    {"hash", "#"sv, kRefused},
};

// The first value is the document.
constexpr Document kTrailing[] = {
    {"text behind an object", "{\"a\":1} x"sv, "{\"a\":1}"sv},
    {"object behind an object", "{\"a\":1}{\"b\":2}"sv, "{\"a\":1}"sv},
    {"line of objects", "{\"a\":1}\n{\"b\":2}"sv, "{\"a\":1}"sv},
    {"comma behind", "{\"a\":1},"sv, "{\"a\":1}"sv},
    {"bracket behind an array", "[1]]"sv, "[1]"sv},
    {"brace behind an object", "{}}"sv, "{}"sv},
    {"quotation mark behind", "[1]\""sv, "[1]"sv},
    {"NUL behind", "[1]\000"sv, "[1]"sv},
    {"NUL and more behind", "[1]\000[2]"sv, "[1]"sv},
    {"number behind a number", "1 2"sv, "1"sv},
    {"text behind a text", "\"a\"\"b\""sv, "\"a\""sv},
    {"letters behind a word", "nullx"sv, "null"sv},
    {"letters behind a number", "7x"sv, "7"sv},
    {"not closed comment behind", "[1]/*"sv, "[1]"sv},
    {"slash behind", "[1]/"sv, "[1]"sv},
};

// Neither behind a key nor alone in an array.
constexpr Document kComments[] = {
    {"block before", "/* a */[1]"sv, "[1]"sv},
    {"line before", "// a\n[1]"sv, "[1]"sv},
    {"block behind", "[1]/* a */"sv, "[1]"sv},
    {"line behind", "[1]// a"sv, "[1]"sv},
    {"block inside", "[1,/* a */2]"sv, "[1,2]"sv},
    {"block behind an element", "[1/* a */,2]"sv, "[1,2]"sv},
    {"line inside", "[1,// a\n2]"sv, "[1,2]"sv},
    {"block between key and colon", "{\"a\"/* b */:1}"sv, kRefused},
    {"block behind a colon", "{\"a\":/* b */1}"sv, "{\"a\":1}"sv},
    {"before the end", "[1/* a */]"sv, "[1]"sv},
    {"in an empty array", "[/* a */]"sv, kRefused},
    {"in an empty object", "{/* a */}"sv, "{}"sv},
    {"empty block", "/**/[1]"sv, "[1]"sv},
    {"stars", "/***/[1]"sv, "[1]"sv},
    {"quotation mark inside", "/*\"*/[1]"sv, "[1]"sv},
    {"brackets inside", "/*[{*/[1]"sv, "[1]"sv},
    {"slashes inside a text", "[\"// a\"]"sv, "[\"// a\"]"sv},
    {"block inside a text", "[\"/* a */\"]"sv, "[\"/* a */\"]"sv},
    {"not closed block", "/* a [1]"sv, kRefused},
    {"nested block", "/* /* */ */[1]"sv, kRefused},
    {"line without end", "// a"sv, kRefused},
    {"comment alone", "/* a */"sv, kRefused},
    {"hash comment", "# a\n[1]"sv, kRefused},
    {"slash alone", "/ [1]"sv, kRefused},
    {"slash and letter", "/x\n[1]"sv, kRefused},
    {"ended by carriage return", "// a\r[1]"sv, "[1]"sv},
    {"splits a number", "[1/**/2]"sv, kRefused},
    {"splits a word", "[nu/**/ll]"sv, kRefused},
    {"invalid bytes inside", "/*\377\376*/[1]"sv, "[1]"sv},
    {"NUL inside", "/*\000*/[1]"sv, "[1]"sv},
};

// Also when it is null, of another kind, or written in another way.
constexpr Document kDuplicates[] = {
    {"same value", "{\"a\":1,\"a\":1}"sv, "{\"a\":1}"sv},
    {"last wins", "{\"a\":1,\"a\":2}"sv, "{\"a\":2}"sv},
    {"null behind a value", "{\"a\":1,\"a\":null}"sv, "{\"a\":null}"sv},
    {"another kind", "{\"a\":[],\"a\":{}}"sv, "{\"a\":{}}"sv},
    {"escaped", "{\"a\":1,\"\\u0061\":2}"sv, "{\"a\":2}"sv},
    {"in an inner object", "{\"o\":{\"a\":1,\"a\":2}}"sv, "{\"o\":{\"a\":2}}"sv},
    {"apart", "{\"a\":1,\"b\":2,\"a\":3}"sv, "{\"a\":3,\"b\":2}"sv},
    {"other case", "{\"a\":1,\"A\":2}"sv, "{\"A\":2,\"a\":1}"sv},
    {"empty keys", "{\"\":1,\"\":2}"sv, "{\"\":2}"sv},
    {"bad value behind a good one", "{\"a\":1,\"a\":}"sv, kRefused},
};

// Wider encodings are refused; bytes that are no UTF-8 stay as they are inside texts.
constexpr Document kEncodings[] = {
    {"UTF-8 mark", "\357\273\277{\"a\":1}"sv, "{\"a\":1}"sv},
    {"UTF-8 mark alone", "\357\273\277"sv, kRefused},
    {"two UTF-8 marks", "\357\273\277\357\273\277[]"sv, kRefused},
    {"mark behind a blank", " \357\273\277[]"sv, kRefused},
    {"mark inside a text", "[\"\357\273\277\"]"sv, "[\"\357\273\277\"]"sv},
    {"half a mark", "\357\273[]"sv, kRefused},
    {"UTF-16 with mark, little end first", "\377\376[\000]\000"sv, kRefused},
    {"UTF-16 with mark, big end first", "\376\377\000[\000]"sv, kRefused},
    {"UTF-16 without mark, little end first", "[\000]\000"sv, kRefused},
    {"UTF-16 without mark, big end first", "\000[\000]"sv, kRefused},
    {"UTF-32 with mark", "\377\376\000\000[\000\000\000]\000\000\000"sv, kRefused},
    {"Latin-1 letter", "[\"\351\"]"sv, "[\"\351\"]"sv},
    {"lone continuation byte", "[\"\200\"]"sv, "[\"\200\"]"sv},
    {"cut sequence", "[\"\344\270\"]"sv, "[\"\344\270\"]"sv},
    {"cut by the end of the text", "[\"\344\270"sv, kRefused},
    {"overlong slash", "[\"\300\257\"]"sv, "[\"\300\257\"]"sv},
    {"overlong NUL", "[\"\300\200\"]"sv, "[\"\300\200\"]"sv},
    {"encoded half of a pair", "[\"\355\240\200\"]"sv, "[\"\355\240\200\"]"sv},
    {"beyond the last code point", "[\"\364\220\200\200\"]"sv, "[\"\364\220\200\200\"]"sv},
    {"five bytes", "[\"\370\210\200\200\200\"]"sv, "[\"\370\210\200\200\200\"]"sv},
    {"byte that never is", "[\"\377\"]"sv, "[\"\377\"]"sv},
    {"invalid byte in a key", "{\"\377\":1}"sv, "{\"\377\":1}"sv},
    {"invalid byte outside a text", "[\377]"sv, kRefused},
    {"invalid byte before", "\377[]"sv, kRefused},
    {"escape beside an invalid byte", "[\"\377\\u00e9\"]"sv, "[\"\377\303\251\"]"sv},
    {"byte cuts an escape", "[\"\\u00\351e\"]"sv, kRefused},
    {"seven-bit letters with high bit", "[\"\341\342\343\"]"sv, "[\"\341\342\343\"]"sv},
};

TEST(JsonDocument, NumbersReadAsTheReaderTakesThem) { expectAll(kNumbers); }

TEST(JsonDocument, TextsReadWithTheirEscapes) { expectAll(kTexts); }

TEST(JsonDocument, OnlyThreeWordsAreValues) { expectAll(kWords); }

TEST(JsonDocument, StructuresMustBeWholeButForACommaAtTheEnd) { expectAll(kStructures); }

TEST(JsonDocument, AnyValueMayBeTheRoot) { expectAll(kRoots); }

TEST(JsonDocument, WhatStandsBehindTheRootDoesNotCount) { expectAll(kTrailing); }

TEST(JsonDocument, CommentsMayStandBeforeAndBehindValues) { expectAll(kComments); }

TEST(JsonDocument, OfEqualKeysTheLastCounts) { expectAll(kDuplicates); }

TEST(JsonDocument, TextsAreBytesBehindOneMark) { expectAll(kEncodings); }

// A value counts as a level too.
TEST(JsonDocument, NestsTwoHundredLevelsOfAnyKindAndNoMore) {
  const std::string mixed = repeated("[{\"a\":", 99) + "[{}]" + repeated("}]", 99);

  EXPECT_EQ(read(mixed), mixed);
  EXPECT_EQ(read("[" + mixed + "]"), kRefused);
  EXPECT_EQ(read(repeated("[", 200) + repeated("]", 200)), repeated("[", 200) + repeated("]", 200));
  EXPECT_EQ(read(repeated("[", 201)), kRefused);
  EXPECT_EQ(read(repeated("{\"a\":", 201) + "1" + repeated("}", 201)), kRefused);
  EXPECT_EQ(read(repeated("[", 1000000)), kRefused);
  EXPECT_EQ(read(repeated("{\"a\":", 1000000)), kRefused);
}

TEST(JsonDocument, CountsTheLevelsThatAreOpenNotThoseThatWere) {
  const std::string wide = "[" + repeated("[[]],", 10000) + "[]]";

  EXPECT_EQ(read(wide), wide);
}

TEST(JsonDocument, BracketsInsideTextsAndCommentsAreNoLevels) {
  EXPECT_EQ(read("[\"" + repeated("[", 1000) + "\"]"), "[\"" + repeated("[", 1000) + "\"]");
  EXPECT_EQ(read("/*" + repeated("[", 1000) + "*/[]"), "[]");
}

TEST(JsonDocument, MayBeLongInEachOfItsParts) {
  const std::string text = "\"" + repeated("x", 1000000) + "\"";

  EXPECT_EQ(read(text), text);
  EXPECT_EQ(read("{" + text + ":1}"), "{" + text + ":1}");
  EXPECT_EQ(read(repeated(" ", 1000000) + "1"), "1");
  EXPECT_EQ(read("/*" + repeated("x", 1000000) + "*/1"), "1");
  EXPECT_EQ(read("0." + repeated("0", 1000000) + "1"), "0.0");
  EXPECT_EQ(read(repeated("9", 1000000)), kRefused);  // beyond every real
}

}  // namespace
