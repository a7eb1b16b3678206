// Holds the explanations against the engine's own tables, constants and sources.

#include "kestrelctl/explanations/explanation.h"

#include "base/constants.h"
#include "base/error_message.h"
#include "engine/error_model.h"
#include "engine/kestrelvisor_public.h"
#include "kestrelctl/exit_code.h"
#include "kestrelctl/explanations/advice.h"
#include "kestrelctl/explanations/explanation_views.h"
#include "tests/support/test_headers.h"

#include <curl/curl.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace kestrelvisor::ctl::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::SizeIs;

std::string sourceText(const fs::path& path) {
  std::ifstream file(fs::path(PROJECT_SOURCES) / path);
  EXPECT_TRUE(file.is_open()) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// What each place gives, group for group.
std::vector<std::vector<std::string>> matches(const std::string& text, const char* expression) {
  std::vector<std::vector<std::string>> all;
  const std::regex regex(expression);
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    std::vector<std::string> groups;
    for (std::size_t i = 1; i < match->size(); ++i) groups.push_back((*match)[i]);
    all.push_back(std::move(groups));
  }
  return all;
}

bool isCodeOfAnswers(const std::string& code) {
  return explanationOf(CodeKind::manager, code) != nullptr ||
         explanationOf(CodeKind::engine, code) != nullptr ||
         explanationOf(CodeKind::http, code) != nullptr;
}

TEST(Explanation, HoldsEachConstantOfTheErrorModel) {
  const auto constants = matches(sourceText("engine/error_model.h"),
                                 R"(constexpr [\w: ]+ k(State|Status|Detail)\w+ = (\d+);)");
  ASSERT_THAT(constants, SizeIs(::testing::Ge(19U)));
  for (const auto& constant : constants) {
    const CodeKind kind = constant[0] == "State"    ? CodeKind::number
                          : constant[0] == "Status" ? CodeKind::status
                                                    : CodeKind::detail;
    EXPECT_NE(explanationOf(kind, constant[1]), nullptr) << constant[0] << " " << constant[1];
  }
}

TEST(Explanation, HoldsEachRowOfTheStateTableWithItsNumber) {
  for (const VrmAviaryState& state : vrmAviaryStateTable) {
    EXPECT_TRUE(isCodeOfAnswers(state.codeText)) << state.codeText;
    const Explanation* const number = explanationOf(CodeKind::number, std::to_string(state.number));
    ASSERT_NE(number, nullptr) << state.number;
    EXPECT_THAT(number->cause, HasSubstr(state.codeText));
  }
}

TEST(Explanation, TellsTheNumberThatAHostGets) {
  std::size_t told = 0;
  for (const Explanation* const row : explanationsOf(CodeKind::manager)) {
    if (std::string(row->title).rfind("passed on to the host as ", 0) != 0) continue;
    ++told;
    EXPECT_EQ(row->title, "passed on to the host as " +
                              std::to_string(KestrelVisorPublic::getAviaryStateCode(row->code)));
  }
  EXPECT_EQ(told, 8U);
}

TEST(Explanation, HoldsEachResidentCode) {
  const auto& codes = KestrelVisorPublic::getInstance().residentCodes;
  ASSERT_THAT(codes, SizeIs(8));
  for (const std::string& code : codes) {
    EXPECT_NE(explanationOf(CodeKind::manager, code), nullptr) << code;
  }
}

TEST(Explanation, HoldsEachCodeOfSwitchingTrackingOffWithItsStatus) {
  const std::string source = sourceText("engine/kestrelvisor_public.cpp");
  const std::string model = sourceText("engine/error_model.h");
  const auto rows = matches(source, R"(\{(\d{8}), kestrelvisor::(kStatus\w+),)");
  ASSERT_THAT(rows, SizeIs(7));
  for (const auto& row : rows) {
    const auto status = matches(model, (row[1] + R"( = (\d+);)").c_str());
    ASSERT_THAT(status, SizeIs(1)) << row[1];
    const Explanation* const known = explanationOf(CodeKind::manager, row[0]);
    ASSERT_NE(known, nullptr) << row[0];
    EXPECT_THAT(known->cause, HasSubstr("status " + status.front().front()));
    const Explanation* const result = explanationOf(CodeKind::status, status.front().front());
    ASSERT_NE(result, nullptr);
    EXPECT_THAT(result->cause, HasSubstr(row[0]));
  }
}

TEST(Explanation, HoldsEachCodeThatStandsInTheSources) {
  std::set<std::string> codes;
  for (const char* const folder : {"base", "rest", "inventory", "tree", "reply", "engine"}) {
    for (const auto& entry : fs::directory_iterator(fs::path(PROJECT_SOURCES) / folder)) {
      const std::string kind = entry.path().extension();
      if (kind != ".h" && kind != ".cpp") continue;
      const std::string text = sourceText(fs::path(folder) / entry.path().filename());
      for (const auto& code : matches(text, R"re("(\d{3,8})")re")) codes.insert(code[0]);
    }
  }
  ASSERT_THAT(codes, SizeIs(::testing::Ge(30U)));
  for (const std::string& code : codes) EXPECT_TRUE(isCodeOfAnswers(code)) << code;
}

TEST(Explanation, HoldsEachCodeOfReadingChangedBlocksWithItsText) {
  for (std::size_t value = 0; value < kCbtErrorTexts.size(); ++value) {
    KestrelVisorErrorMessage message;
    message.setErrorCode("0, " + std::string(kCbtErrorTexts[0]),
                         static_cast<CBTGetErrorCode>(value));
    const std::size_t comma = message.errorCode.find(", ");
    const Explanation* const known =
        explanationOf(CodeKind::blocks, message.errorCode.substr(0, comma));
    ASSERT_NE(known, nullptr) << message.errorCode;
    EXPECT_EQ(known->title, message.errorCode.substr(comma + 2));
  }
}

TEST(Explanation, HoldsEachResultOfLibcurl) {
  for (int result = 0; result < CURL_LAST; ++result) {
    EXPECT_NE(explanationOf(CodeKind::curl, std::to_string(result)), nullptr) << result;
  }
}

TEST(Explanation, HoldsEachExitCode) {
  const auto codes = matches(sourceText("kestrelctl/exit_code.h"), R"(\w+ = (\d+),)");
  ASSERT_THAT(codes, SizeIs(::testing::Ge(9U)));
  const std::string manual = sourceText("docs/man/kestrelctl.1");
  for (const auto& code : codes) {
    EXPECT_NE(explanationOf(CodeKind::exit, code[0]), nullptr) << code[0];
    EXPECT_THAT(manual, HasSubstr("\n.It " + code[0] + "\n"));
  }
  for (int number = 1; number <= 64; ++number) {
    EXPECT_NE(explanationOf(CodeKind::exit, std::to_string(exitCodeOfSignal(number))), nullptr);
  }
}

TEST(Explanation, HoldsEachHttpStatus) {
  for (int status = 100; status < 600; ++status) {
    EXPECT_NE(explanationOf(CodeKind::http, std::to_string(status)), nullptr) << status;
  }
  EXPECT_EQ(explanationOf(CodeKind::http, "600"), nullptr);
}

TEST(Explanation, HoldsEachCodeOfTheOperatorsGuide) {
  const auto codes = matches(sourceText("docs/operating.md"), R"(\n\| (\d+)[, ][^\n]*\|)");
  ASSERT_THAT(codes, SizeIs(::testing::Ge(40U)));
  for (const auto& code : codes) EXPECT_THAT(explanationsOf(code[0]), ::testing::Not(SizeIs(0)));
}

TEST(Explanation, HasSomethingToSayForEveryCodeAndEachCodeOnce) {
  for (const KindOfCode& kind : kindsOfCode()) {
    std::set<std::string> codes;
    for (const Explanation* const row : explanationsOf(kind.kind)) {
      EXPECT_EQ(row->kind, kind.kind) << row->code;
      EXPECT_TRUE(codes.insert(row->code).second) << kind.name << " " << row->code;
      for (const char* const text : {row->title, row->cause, row->step, row->remedy}) {
        ASSERT_NE(text, nullptr) << row->code;
        EXPECT_GT(std::string(text).size(), 3U) << kind.name << " " << row->code;
        const std::string_view letters = text;
        EXPECT_TRUE(std::all_of(letters.begin(), letters.end(), [](char c) {
          return c >= ' ' && c <= '~';
        })) << text;
      }
    }
    EXPECT_FALSE(codes.empty()) << kind.name;
  }
}

TEST(Explanation, FitsAnOrdinaryTerminalAndANarrowOne) {
  for (const std::size_t columns : {80U, 60U}) {
    const Rendering rendering{false, false, columns};
    for (const KindOfCode& kind : kindsOfCode()) {
      for (const Explanation* const row : explanationsOf(kind.kind)) {
        std::istringstream lines(explanationText({row}, rendering));
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), columns) << line;
      }
    }
  }
}

TEST(Explanation, ANumberMayHaveSeveralMeanings) {
  std::vector<CodeKind> kinds;
  for (const Explanation* const row : explanationsOf("1")) kinds.push_back(row->kind);

  EXPECT_THAT(kinds, ::testing::ElementsAre(CodeKind::exit, CodeKind::status, CodeKind::curl,
                                            CodeKind::blocks));
}

TEST(Explanation, UnknownCodeHasNone) {
  EXPECT_THAT(explanationsOf("4711"), SizeIs(0));
  EXPECT_THAT(explanationsOf(""), SizeIs(0));
}

Failure failureWith(ExitCode exitCode, const std::string& code, const std::string& text = {}) {
  Failure failure(exitCode, "x");
  failure.managerCode = code;
  failure.text = text;
  return failure;
}

TEST(Advice, IsThatOfTheCode) {
  EXPECT_STREQ(adviceFor(failureWith(ExitCode::managerFailed, "10000004")).code, "10000004");
  EXPECT_STREQ(adviceFor(failureWith(ExitCode::refusedLogin, "1006")).code, "1006");
  EXPECT_STREQ(adviceFor(failureWith(ExitCode::managerFailed, "503")).code, "503");
}

TEST(Advice, OfATransferGoesByTheWordsOfLibcurl) {
  const Explanation& advice =
      adviceFor(failureWith(ExitCode::unreachable, "2002",
                            std::string(curl_easy_strerror(CURLE_COULDNT_RESOLVE_HOST)) + "."));

  EXPECT_EQ(advice.kind, CodeKind::curl);
  EXPECT_STREQ(advice.code, "6");
}

TEST(Advice, IsNoCodeThatNothingFailsWith) {
  EXPECT_EQ(adviceFor(failureWith(ExitCode::managerFailed, "404")).kind, CodeKind::http);
  EXPECT_EQ(adviceFor(failureWith(ExitCode::managerFailed, "2406")).kind, CodeKind::exit);
  EXPECT_EQ(adviceFor(failureWith(ExitCode::managerFailed, "200")).kind, CodeKind::exit);
}

TEST(Advice, OfAnUnknownCodeIsThatOfTheStatusOrOfTheExitCode) {
  Failure failure = failureWith(ExitCode::managerFailed, "4711");
  EXPECT_EQ(adviceFor(failure).kind, CodeKind::exit);

  failure.operationStatus = 99;
  EXPECT_EQ(adviceFor(failure).kind, CodeKind::status);
  EXPECT_STREQ(adviceFor(failure).code, "99");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
