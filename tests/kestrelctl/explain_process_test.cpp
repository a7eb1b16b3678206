#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/program.h"
#include "tests/kestrelctl/widest_line.h"

#include <set>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(Explain, TellsCauseStepAndRemedyOfACode) {
  const Finished run({"explain", "2000"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "");
  EXPECT_THAT(run.output, StartsWith("2000  no connection to the manager\n"));
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("  kind          code that the engine makes\n"),
                    HasSubstr("  cause         nobody listens"), HasSubstr("  comes up in   "),
                    HasSubstr("  what to do    check scheme, address and port"),
                    HasSubstr("  retry         yes\n")));
}

TEST(Explain, ShowsEachMeaningOfANumber) {
  const Finished run({"explain", "7"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("exit code of kestrelctl"), HasSubstr("result of libcurl"),
                    HasSubstr("code of reading changed blocks")));
}

TEST(Explain, KindChoosesOneMeaning) {
  EXPECT_THAT(Finished({"explain", "exit", "7"}).output,
              AllOf(HasSubstr("exit code of kestrelctl"), Not(HasSubstr("libcurl"))));
  EXPECT_THAT(Finished({"explain", "status", "104"}).output, HasSubstr("the scan failed"));
  EXPECT_THAT(Finished({"explain", "curl", "60"}).output, HasSubstr("--ca-cert FILE"));
}

TEST(Explain, CodeThatStandsForManyIsFoundByEachOfThem) {
  EXPECT_THAT(Finished({"explain", "http", "418"}).output, StartsWith("4xx  "));
  EXPECT_THAT(Finished({"explain", "exit", "139"}).output, StartsWith("128+n  "));
}

TEST(Explain, WithoutACodeListsTheKinds) {
  const Finished run({"explain"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, StartsWith("KIND     CODES  WHAT IT IS\n"));
  for (const char* kind :
       {"exit", "status", "detail", "engine", "manager", "http", "curl", "number", "blocks"}) {
    EXPECT_THAT(run.output, HasSubstr(std::string("\n") + kind + " "));
  }
}

TEST(Explain, AKindAloneListsItsCodes) {
  const Finished run({"explain", "status"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, AllOf(StartsWith("CODE  RETRY    MEANING\n"),
                                HasSubstr("\n104   depends  the scan failed\n")));
}

TEST(Explain, ListsFitAnOrdinaryTerminal) {
  for (const char* kind :
       {"exit", "status", "detail", "engine", "manager", "http", "curl", "number", "blocks"}) {
    const Finished run({"explain", kind}, {"", {{"COLUMNS", "80"}}});
    EXPECT_LE(widestLine(run.output), 80U) << kind;
  }
}

TEST(Explain, ListsAreAsWideAsTheTerminal) {
  const Finished narrow({"explain", "manager"}, {"", {{"COLUMNS", "50"}}});
  EXPECT_THAT(narrow.output, HasSubstr("…\n"));

  const Finished wide({"explain", "status"}, {"", {{"COLUMNS", "200"}}});
  EXPECT_THAT(wide.output, Not(HasSubstr("…")));
}

TEST(Explain, WideListTellsWhatToDo) {
  EXPECT_THAT(Finished({"explain", "exit", "-o", "wide"}).output,
              AllOf(StartsWith("CODE   RETRY    MEANING"), HasSubstr("  WHAT TO DO\n"),
                    HasSubstr(" name the manager's certificate or its CA with --ca-cert FILE")));
}

TEST(Explain, NamesAreWhatItTakesItself) {
  EXPECT_EQ(Finished({"explain", "detail", "-o", "name"}).output,
            "detail 20063\ndetail 20086\ndetail 20111\n");
  EXPECT_EQ(Finished({"explain", "104", "-o", "name"}).output, "status 104\nhttp 1xx\n");
}

TEST(Explain, NameOfACommandIsNoCode) {
  const Finished run({"explain", "scan"});

  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("explain: nothing is known about the code \"scan\""));
}

TEST(Explain, DocumentHoldsEverything) {
  const Json::Value all = parsedAnswer(Finished({"explain", "-o", "json"}).output);

  std::set<std::string> kinds;
  for (const Json::Value& row : all["explanations"]) kinds.insert(row["kind"].asString());
  EXPECT_EQ(kinds.size(), 9U);
  EXPECT_GT(all["explanations"].size(), 180U);
}

TEST(Explain, LinesOfJsonAreADocumentEach) {
  const Finished run({"explain", "1", "-o", "jsonl"});

  std::istringstream lines(run.output);
  std::vector<std::string> kinds;
  for (std::string line; std::getline(lines, line);) {
    kinds.push_back(parsedAnswer(line)["kind"].asString());
  }
  EXPECT_THAT(kinds, ::testing::ElementsAre("exit", "status", "curl", "blocks"));
}

TEST(Explain, UnknownCodeIsWrongUsageAndNamesTheNearest) {
  const Finished run({"explain", "100001"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("nothing is known about the code \"100001\""));

  EXPECT_THAT(Finished({"explain", "10000003"}).talk, HasSubstr("did you mean 1000000"));
  EXPECT_THAT(Finished({"explain", "nonsense"}).talk, HasSubstr("the kinds are exit, status"));
}

TEST(Explain, UnknownCodeOfAKindTellsWhereThoseOfTheKindAre) {
  const Finished run({"explain", "exit", "255"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("explain: the kind exit has no code \"255\""),
                              HasSubstr("kestrelctl explain exit lists its codes")));

  EXPECT_THAT(Finished({"explain", "status", "1044"}).talk, HasSubstr("did you mean 104?"));
}

TEST(Explain, UnknownKindNamesTheNearest) {
  const Finished run({"explain", "crul", "60"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("did you mean curl?"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
