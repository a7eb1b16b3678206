#include "vrmsim/fault_rule.h"

#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"
#include "vrmsim/fault_keys.h"
#include "vrmsim/fault_plan.h"

#include <set>

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

// What a reader says; empty: nothing.
template <class Action>
std::string complaintOf(const Action& action) {
  try {
    action();
  } catch (const FaultRuleError& error) {
    return error.what();
  }
  return "";
}

std::string complaintOfRule(const std::string& text) {
  return complaintOf([&] { parseFaultRule(text); });
}

// The rule apart from how it was written.
FaultRule meaning(FaultRule rule) {
  if (rule.name == rule.text) rule.name.clear();
  rule.text.clear();
  return rule;
}

// One rule in both forms, for each key that there is.
struct Forms {
  const char* key;
  const char* text;
  const char* json;
};
const std::vector<Forms> kForms{
    {"name", "name=one status=500", R"({"name": "one", "status": 500})"},
    {"method", "method=GET status=500", R"({"method": "GET", "status": 500})"},
    {"path", "path=/a*b status=500", R"({"path": "/a*b", "status": "500"})"},
    {"header", R"(header="Accept: *" status=500)", R"({"header": "Accept: *", "status": 500})"},
    {"session", "session=2 status=500", R"({"session": 2, "status": 500})"},
    {"connection", "connection=3 status=500", R"({"connection": 3, "status": 500})"},
    {"skip", "skip=4 status=500", R"({"skip": 4, "status": 500})"},
    {"nth", "nth=5 status=500", R"({"nth": 5, "status": 500})"},
    {"every", "every=6 status=500", R"({"every": 6, "status": 500})"},
    {"count", "count=7 status=500", R"({"count": 7, "status": 500})"},
    {"chance", "chance=8 status=500", R"({"chance": 8, "status": 500})"},
    {"status", "status=999", R"({"status": 999})"},
    {"code", "code=10000002", R"({"code": 10000002})"},
    {"text", R"(text="a \"b\"")", R"({"text": "a \"b\""})"},
    {"body", R"(body="a\n\x00")", R"({"body": "a\n\u0000"})"},
    {"empty", "empty", R"({"empty": true})"},
    {"find", "find=a replace=", R"({"find": "a", "replace": ""})"},
    {"replace", "find=a replace=b=c", R"({"find": "a", "replace": "b=c"})"},
    {"nul", "nul=0", R"({"nul": 0})"},
    {"redirect", "redirect=http://x/?a=b", R"({"redirect": "http://x/?a=b"})"},
    {"set-header", R"(set-header="A: 1" set-header="B: 2")", R"({"set-header": ["A: 1", "B: 2"]})"},
    {"drop-header", "drop-header=A", R"({"drop-header": "A"})"},
    {"header-size", "header-size=9", R"({"header-size": 9})"},
    {"header-count", "header-count=10", R"({"header-count": 10})"},
    {"gzip", "gzip=yes", R"({"gzip": true})"},
    {"length", "length=negative", R"({"length": "negative"})"},
    {"length", "length=77", R"({"length": 77})"},
    {"chunk", "chunk=bad", R"({"chunk": "bad"})"},
    {"endless", "endless", R"({"endless": true, "http09": false})"},
    {"http09", "http09", R"({"http09": true})"},
    {"garbage", "garbage=11", R"({"garbage": 11})"},
    {"continues", "continues=12", R"({"continues": 12})"},
    {"trickle", "trickle=13", R"({"trickle": 13})"},
    {"delay", "delay=14ms", R"({"delay": "14ms"})"},
    {"silence", "silence=headers", R"({"silence": "headers"})"},
    {"cut", "cut=body:15", R"({"cut": "body:15"})"},
    {"reset", "reset=handshake", R"({"reset": "handshake"})"},
    {"reset", "reset=headers:16", R"({"reset": "headers:16"})"},
    {"tls", "tls=stall", R"({"tls": "stall"})"},
    {"clean", "cut=end clean=no", R"({"cut": "end", "clean": false})"},
    {"expire-after", "expire-after=16", R"({"expire-after": 16})"},
    {"kill-sessions", "kill-sessions", R"({"kill-sessions": true})"},
    {"take-role", R"(take-role="a b")", R"({"take-role": "a b"})"},
    {"site-address", R"(site-address="")", R"({"site-address": ""})"},
    {"remove-vm", "remove-vm=urn:1 remove-vm=urn:2", R"({"remove-vm": ["urn:1", "urn:2"]})"},
    {"add-vms", "add-vms=17", R"({"add-vms": 17})"},
};

TEST(FaultRules, AreTheSameInBothForms) {
  for (const Forms& forms : kForms) {
    const FaultRule fromText = parseFaultRule(forms.text);
    const FaultDocument document = parseFaultDocument(forms.json);

    ASSERT_EQ(document.rules.size(), 1U) << forms.key;
    EXPECT_TRUE(meaning(document.rules[0]) == meaning(fromText)) << forms.text;
    EXPECT_FALSE(meaning(fromText) == FaultRule()) << forms.text << " changes nothing";
  }
}

// The two keys that read files have a case of their own.
TEST(FaultRules, AreTriedWithEveryKey) {
  std::set<std::string> tried{"body-file", "edit-inventory"};
  for (const Forms& forms : kForms) tried.insert(forms.key);

  std::set<std::string> known;
  for (const FaultKey& key : faultKeys()) known.insert(key.name);

  EXPECT_EQ(tried, known);
}

TEST(FaultRules, ThatAreWrittenAsWordsReadTheSameAgain) {
  for (const Forms& forms : kForms) {
    const FaultRule rule = parseFaultDocument(forms.json).rules[0];

    EXPECT_TRUE(meaning(parseFaultRule(rule.text)) == meaning(rule)) << rule.text;
  }
  const FaultRule odd = parseFaultDocument(R"({"body": "\"a\\\t\u0000\u007f b"})").rules[0];
  EXPECT_EQ(odd.text, R"(body="\"a\\\x09\x00\x7f b")");
  EXPECT_TRUE(meaning(parseFaultRule(odd.text)) == meaning(odd));
}

TEST(FaultRules, ReadTheFilesTheyName) {
  const TemporaryFolder folder;
  const std::string body = folder.write("body", std::string("a\0b", 3));
  const std::string patch = folder.write("patch", R"({"vms": []})");

  EXPECT_EQ(parseFaultRule("body-file=" + body).answer.body, std::string("a\0b", 3));
  EXPECT_EQ(parseFaultRule("edit-inventory=" + patch).state.inventoryPatch, R"({"vms": []})");
}

TEST(FaultRules, AreNamedByTheirWordsOrByTheirName) {
  EXPECT_EQ(parseFaultRule("path=/x  status=503").name, "path=/x  status=503");
  EXPECT_EQ(parseFaultRule("name=busy status=503").name, "busy");
  EXPECT_EQ(parseFaultDocument(R"({"status": 503, "path": "/x y"})").rules[0].name,
            R"(path="/x y" status=503)");
}

TEST(FaultRules, UnderstandEscapes) {
  EXPECT_EQ(parseFaultRule(R"(body="\"\\\n\r\t\0\x41\xfF")").answer.body,
            std::string("\"\\\n\r\t\0A\xFF", 8));
  EXPECT_EQ(parseFaultRule(R"(body=a\nb"c)").answer.body, R"(a\nb"c)");
}

TEST(FaultRules, UnderstandTimes) {
  EXPECT_EQ(parseFaultRule("delay=200ms").delay, std::chrono::milliseconds(200));
  EXPECT_EQ(parseFaultRule("delay=5s").delay, std::chrono::seconds(5));
  EXPECT_EQ(parseFaultRule("delay=2m").delay, std::chrono::minutes(2));
}

struct WrongRule {
  const char* name;
  const char* text;
  const char* message;
};
class WrongFaultRule : public ::testing::TestWithParam<WrongRule> {};

TEST_P(WrongFaultRule, IsRefusedWithItsTextAndWhatIsAllowed) {
  EXPECT_THAT(
      complaintOfRule(GetParam().text),
      HasSubstr("fault rule '" + std::string(GetParam().text) + "': " + GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    FaultRules, WrongFaultRule,
    ::testing::Values(
        WrongRule{"UnknownKey", "stauts=503", "\"stauts\" is no key; the keys are name, method, "},
        WrongRule{"NoWords", "  ", "it does nothing; add what to do, such as status=503"},
        WrongRule{"NothingToDo", "path=/x nth=2", "it does nothing"},
        WrongRule{"NumberTooSmall", "nth=0 status=500",
                  "nth=0: expected a number from 1 to 1000000000000"},
        WrongRule{"NoNumber", "status=bad", "status=bad: expected a number from 100 to 999"},
        WrongRule{"NumberAndMore", "garbage=5x", "garbage=5x: expected a number"},
        WrongRule{"NegativeNumber", "skip=-1 status=500", "skip=-1: expected a number from 0"},
        WrongRule{"PercentTooHigh", "chance=101 empty",
                  "chance=101: expected a number from 0 to 100"},
        WrongRule{"EmptyText", "method= empty", "method=\"\": expected a text that is not empty"},
        WrongRule{"FlagWithValue", "empty=maybe", "empty=maybe: expected yes or no"},
        WrongRule{"TimeWithoutUnit", "delay=200", "delay=200: expected a time such as 200ms"},
        WrongRule{"TimeWithoutNumber", "delay=ms", "delay=ms: expected a time"},
        WrongRule{"TimeTooLong", "delay=2000m", "delay=2000m: expected a time such as 200ms, 5s"},
        WrongRule{"HeaderWithoutColon", "set-header=X", "set-header=X: expected \"Name: value\""},
        WrongRule{"MissingFile", "body-file=/nowhere/x",
                  "body-file=/nowhere/x: expected a file that can be read"},
        WrongRule{"UnknownPlace", "cut=middle",
                  "cut=middle: expected accept, handshake, request, headers, headers:N, body:N "
                  "or end"},
        WrongRule{"PlaceWithoutNumber", "reset=body:", "reset=body:: expected a number from 0"},
        WrongRule{"PlaceWithWrongNumber", "cut=headers:x",
                  "cut=headers:x: expected a number from 0"},
        WrongRule{"UnknownTlsFault", "tls=x", "tls=x: expected alert or stall"},
        WrongRule{"UnknownLength", "length=odd",
                  "length=odd: expected shorter, longer, negative, huge or a number from 0"},
        WrongRule{"LengthBeyond64Bits", "length=18446744073709551616",
                  "length=18446744073709551616: expected shorter, longer, negative, huge or a "
                  "number from 0 to 18446744073709551615"},
        WrongRule{"UnknownChunking", "chunk=odd", "chunk=odd: expected good, bad or cut"},
        WrongRule{"KeyTwice", "status=500 status=501", "\"status\" stands twice; once is allowed"},
        WrongRule{"TwoEnds", "cut=end reset=end", "\"cut\" and \"reset\" exclude each other"},
        WrongRule{"TwoBodies", "body=a empty", "\"body\" and \"empty\" exclude each other"},
        WrongRule{"TwoCounts", "nth=1 every=2 empty", "\"nth\" and \"every\" exclude each other"},
        WrongRule{"FindAlone", "find=a", "\"find\" needs \"replace\""},
        WrongRule{"ReplaceAlone", "replace=a", "\"replace\" needs \"find\""},
        WrongRule{"CleanAlone", "clean=no", "\"clean\" needs \"cut\""},
        WrongRule{
            "PathBeforeARequest", "path=/x reset=accept",
            "\"path\" knows a request, and a fault at accept or in the handshake comes before "
            "it; match by connection, skip, nth, every, count or chance"},
        WrongRule{"SessionBeforeARequest", "session=1 tls=alert", "\"session\" knows a request"},
        WrongRule{"ExpiryBeforeARequest", "expire-after=1 cut=accept",
                  "\"expire-after\" knows a request"},
        WrongRule{"AnswerBeforeARequest", "status=500 silence=handshake",
                  "\"status\" shapes an answer, and this fault ends before any is sent"},
        WrongRule{"AnswerThatIsNotSent", "gzip cut=request", "\"gzip\" shapes an answer"},
        WrongRule{"GarbageWithStatus", "garbage=5 status=500",
                  "\"status\" shapes an answer, and \"garbage\" stands instead of any"},
        WrongRule{"OpenQuote", "body=\"abc", "a closing quote is missing"},
        WrongRule{"NoBlankBehindAQuote", "body=\"a\"b",
                  "a blank is missing behind a closing quote"},
        WrongRule{"UnknownEscape", R"(body="\q")", R"(after a \ stands one of)"},
        WrongRule{"HalfAByte", R"(body="\x4")", R"(after a \ stands one of)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(FaultDocuments, HoldASeedAndRulesInOrder) {
  const FaultDocument document = parseFaultDocument(
      R"({"seed": 7, "faults": [{"name": "a", "status": 500}, "name=b cut=end"]})");

  EXPECT_EQ(document.seed, 7U);
  ASSERT_EQ(document.rules.size(), 2U);
  EXPECT_EQ(document.rules[0].name, "a");
  EXPECT_EQ(document.rules[1].name, "b");
}

TEST(FaultDocuments, MayBeAListOrASingleRule) {
  EXPECT_EQ(parseFaultDocument(R"([{"empty": true}, {"gzip": true}])").rules.size(), 2U);
  EXPECT_EQ(parseFaultDocument(R"({"empty": true})").rules.size(), 1U);
  EXPECT_EQ(parseFaultDocument(R"("cut=end")").rules.size(), 1U);
  EXPECT_EQ(parseFaultDocument(R"([])").seed, std::nullopt);
}

TEST(FaultDocuments, ThatAreWrongNameThePlace) {
  const auto complaint = [](const std::string& json) {
    return complaintOf([&] { parseFaultDocument(json); });
  };

  EXPECT_EQ(
      complaint(R"({"faults": [{"empty": true}, {"nth": "x", "empty": true}]})"),
      "faults[1]: fault rule {\"empty\":true,\"nth\":\"x\"}: nth=x: expected a number from 1 to "
      "1000000000000");
  EXPECT_THAT(complaint(R"([{"stauts": 1}])"), HasSubstr("\"stauts\" is no key; the keys are"));
  EXPECT_THAT(complaint(R"([{"status": -1}])"),
              HasSubstr("\"status\": expected a text, a number without sign, true or false"));
  EXPECT_THAT(complaint(R"([{"status": [500, 501]}])"), HasSubstr("\"status\" stands twice"));
  EXPECT_THAT(complaint("[3]"), HasSubstr("faults[0]: expected a rule, found 3"));
  EXPECT_THAT(complaint(R"({"faults": {}})"), HasSubstr("expected a list of rules, found {}"));
  EXPECT_THAT(complaint(R"({"faults": [], "sead": 1})"),
              HasSubstr("\"sead\": beside \"faults\" only \"seed\" may stand"));
  EXPECT_THAT(complaint(R"({"faults": [], "seed": -1})"),
              HasSubstr("\"seed\": expected a number without sign"));
  EXPECT_EQ(complaint("[\n{]"),
            "not readable as JSON: Line 2, Column 2: Missing '}' or object member name");
  EXPECT_THAT(complaint(std::string(200, '[')), HasSubstr("not readable as JSON"));
}

TEST(FaultDocuments, ThatAreFilesAreNamedInComplaints) {
  const TemporaryFolder folder;
  const std::string wrong = folder.write("faults.json", "[1]");

  EXPECT_EQ(complaintOf([&] { loadFaultDocument(wrong); }),
            wrong + ": faults[0]: expected a rule, found 1");
  EXPECT_EQ(complaintOf([] { loadFaultDocument("/nowhere/x"); }), "/nowhere/x: cannot be read");
}

TEST(FaultGlob, HasAStarForAnyRunOfCharacters) {
  EXPECT_TRUE(globMatches("/a/*/c", "/a/b/b/c"));
  EXPECT_TRUE(globMatches("*", ""));
  EXPECT_TRUE(globMatches("a**b*", "ab"));
  EXPECT_TRUE(globMatches("*ab", "aab"));
  EXPECT_TRUE(globMatches("a.c", "a.c"));
  EXPECT_FALSE(globMatches("a.c", "abc"));
  EXPECT_FALSE(globMatches("/a/*/c", "/a/c"));
  EXPECT_FALSE(globMatches("a*", "ba"));
  EXPECT_FALSE(globMatches("a", "ab"));
  EXPECT_FALSE(globMatches("", "a"));
}

// The numbers of the requests that a rule hits, out of so many.
std::vector<int> hitsOf(const std::string& rule, int requests, std::uint64_t seed = 1) {
  FaultPlan plan(seed);
  plan.add(parseFaultRule(rule + " status=500"));
  std::vector<int> hits;
  for (int i = 1; i <= requests; ++i) {
    if (plan.next(FaultMoment::kRequest, HttpRequest(), 0)) hits.push_back(i);
  }
  return hits;
}

TEST(FaultPlan, CountsByTheRule) {
  EXPECT_THAT(hitsOf("", 3), ElementsAre(1, 2, 3));
  EXPECT_THAT(hitsOf("skip=2", 4), ElementsAre(3, 4));
  EXPECT_THAT(hitsOf("nth=3", 6), ElementsAre(3));
  EXPECT_THAT(hitsOf("every=3", 7), ElementsAre(3, 6));
  EXPECT_THAT(hitsOf("count=2", 4), ElementsAre(1, 2));
  EXPECT_THAT(hitsOf("skip=1 nth=2", 5), ElementsAre(3));
  EXPECT_THAT(hitsOf("skip=1 every=2 count=2", 9), ElementsAre(3, 5));
  EXPECT_THAT(hitsOf("chance=0", 100), ElementsAre());
  EXPECT_EQ(hitsOf("chance=100", 100).size(), 100U);
}

TEST(FaultPlan, ChoosesBySeed) {
  const std::vector<int> hits = hitsOf("chance=30", 1000, 5);

  EXPECT_EQ(hits, hitsOf("chance=30", 1000, 5));
  EXPECT_NE(hits, hitsOf("chance=30", 1000, 6));
  EXPECT_GT(hits.size(), 250U);
  EXPECT_LT(hits.size(), 350U);
}

TEST(FaultPlan, LetsTheOldestRuleActAndTheNthWait) {
  FaultPlan plan(1);
  for (const char* rule : {"name=a nth=2 empty", "name=b nth=2 empty", "name=c empty"}) {
    plan.add(parseFaultRule(rule));
  }
  std::string acted;
  for (int i = 0; i < 4; ++i) {
    acted += plan.next(FaultMoment::kRequest, HttpRequest(), 0)->rule->name;
  }

  EXPECT_EQ(acted, "cabc");
}

TEST(FaultPlan, MatchesWhatIsGiven) {
  HttpRequest request;
  request.connection = 4;
  request.method = "GET";
  request.target = "/service/sites/S1/vms?limit=1";
  request.headers = {{"Host", "m"}, {"Accept", "application/json"}};
  const auto hits = [&](const std::string& rule) {
    FaultPlan plan(1);
    plan.add(parseFaultRule(rule + " empty"));
    return plan.next(FaultMoment::kRequest, request, 2).has_value();
  };

  for (const char* rule :
       {"method=GET", "path=/service/sites/*/vms", "path=*?limit=1", "path=*?*", "session=2",
        "connection=4", R"(header="Accept: *json")", "method=GET session=2 connection=4"}) {
    EXPECT_TRUE(hits(rule)) << rule;
  }
  for (const char* rule : {"method=POST", "path=/service/sites", "path=*?limit=2", "session=1",
                           "connection=3", "header=json", "method=GET session=3"}) {
    EXPECT_FALSE(hits(rule)) << rule;
  }
}

TEST(FaultPlan, TellsHitsInOrder) {
  FaultPlan plan(1);
  plan.add(parseFaultRule("name=a nth=2 empty"));
  plan.add(parseFaultRule("tls=alert"));
  for (int i = 0; i < 3; ++i) plan.next(FaultMoment::kRequest, HttpRequest(), 0);

  std::vector<std::pair<std::string, std::uint64_t>> told;
  for (const FaultCount& fault : plan.counts()) told.emplace_back(fault.name, fault.hits);
  EXPECT_THAT(told, ElementsAre(Pair("a", 1U), Pair("tls=alert", 0U)));
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
