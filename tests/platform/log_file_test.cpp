#include "platform/contract/log.h"
#include "platform/reference/clock.h"
#include "platform/reference/logging.h"
#include "tests/platform/scratch.h"
#include "tests/support/test_headers.h"

#include <json/json.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

namespace {

using kestrelvisor::LogFormat;
using kestrelvisor::LogOptions;
using kestrelvisor::test::contentOf;
using kestrelvisor::test::ScratchDirectory;

class LogFile : public ::testing::Test {
 protected:
  LogFile() {
    const std::chrono::seconds sinceEpoch{1795267800};
    kestrelvisor::holdClock(
        std::chrono::system_clock::time_point(sinceEpoch + std::chrono::milliseconds(123)));
  }
  ~LogFile() override {
    kestrelvisor::releaseClock();
    std::string problem;
    kestrelvisor::configureLogging({}, problem);
  }

  void configure(int threshold, LogFormat format = LogFormat::text) {
    std::string problem;
    LogOptions options;
    options.threshold = threshold;
    options.format = format;
    options.file = path_;
    ASSERT_TRUE(kestrelvisor::configureLogging(options, problem)) << problem;
  }

  static void log(int level, const std::string& text, int code = 0) {
    LogProxy(level, "KestrelVisorEngine", 42, "KestrelVisorEngine::DisableCBT()", 123)
        << code << text << "";
  }

  // The text that follows the fields in front of it, for each line.
  std::string written() const { return contentOf(path_); }

  ScratchDirectory scratch_;
  std::string path_ = scratch_.path("logs/host.log");
};

TEST_F(LogFile, HasOneLineForEachRecord) {
  configure(0);

  log(3, "text");
  log(4, "more");

  EXPECT_EQ(written(),
            "2026-11-21T13:30:00.123Z WARN  KestrelVisorEngine [42] "
            "KestrelVisorEngine::DisableCBT():123 text\n"
            "2026-11-21T13:30:00.123Z ERROR KestrelVisorEngine [42] "
            "KestrelVisorEngine::DisableCBT():123 more\n");
}

TEST_F(LogFile, NamesEachLevel) {
  configure(0);

  for (int level = 0; level <= 4; ++level) log(level, "");

  std::istringstream lines(written());
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);) names.push_back(line.substr(25, 5));
  EXPECT_THAT(names, ::testing::ElementsAre("TRACE", "INFO ", "NOTE ", "WARN ", "ERROR"));
}

TEST_F(LogFile, TellsACodeThatIsNotZero) {
  configure(0);

  log(3, "text", 7);

  EXPECT_THAT(written(), ::testing::EndsWith(":123 (code 7) text\n"));
}

TEST_F(LogFile, HoldsTheThresholdAndAbove) {
  configure(2);

  for (int level = 0; level <= 4; ++level) log(level, "level " + std::to_string(level));

  EXPECT_THAT(written(), ::testing::Not(::testing::HasSubstr("level 1")));
  EXPECT_THAT(written(), ::testing::HasSubstr("level 2"));
  EXPECT_THAT(written(), ::testing::HasSubstr("level 3"));
}

TEST_F(LogFile, HoldsNothingMoreWhileAnObserverLooks) {
  configure(3);
  const kestrelvisor::LogObserver observer(nullptr);

  log(2, "for the observer alone");

  EXPECT_EQ(written(), "");
}

TEST_F(LogFile, HoldsNothingAboveTheHighestLevel) {
  configure(5);

  log(4, "text");

  EXPECT_EQ(written(), "");
}

TEST_F(LogFile, KeepsARecordOnItsLine) {
  configure(0);

  log(3,
      "a\n2026-11-21T13:30:00.123Z ERROR forged\r\x1b[2J\t\x7f\xC2\x9B|\xE2\x80\xA8|\xFF|\xC3\xA9");

  EXPECT_THAT(written(),
              ::testing::EndsWith(":123 a\\n2026-11-21T13:30:00.123Z ERROR forged\\r\\x1b[2J\\t"
                                  "\\x7f\\u009b|\\u2028|\\xff|\xC3\xA9\n"));
}

TEST_F(LogFile, EscapesBytesThatAreNoCharacter) {
  configure(0);

  // overlong, surrogate, beyond the last character, cut off
  log(3, "\xC0\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \xF0\x9F\x98\x80 \xE2\x82");

  EXPECT_THAT(written(), ::testing::EndsWith(":123 \\xc0\\x80 \\xed\\xa0\\x80 \\xf4\\x90\\x80\\x80 "
                                             "\xF0\x9F\x98\x80 \\xe2\\x82\n"));
}

TEST_F(LogFile, IsContinuedWhenOpenedAgain) {
  configure(0);
  log(3, "first");
  configure(0);
  log(3, "second");

  EXPECT_THAT(written(), ::testing::HasSubstr("first\n"));
  EXPECT_THAT(written(), ::testing::HasSubstr("second\n"));
}

TEST_F(LogFile, StaysInUseWhenAnotherCannotBeOpened) {
  configure(0);
  LogOptions options;
  options.file = scratch_.path("logs");  // a folder
  std::string problem;

  EXPECT_FALSE(kestrelvisor::configureLogging(options, problem));

  log(0, "still here");
  EXPECT_THAT(problem, ::testing::HasSubstr(options.file));
  EXPECT_THAT(written(), ::testing::HasSubstr("still here\n"));
}

TEST_F(LogFile, HasAnObjectForEachRecordInJson) {
  configure(0, LogFormat::json);

  log(3, "text", 7);

  EXPECT_EQ(written(),
            R"({"time":"2026-11-21T13:30:00.123Z","level":"warning","tag":"KestrelVisorEngine",)"
            R"x("request":42,"function":"KestrelVisorEngine::DisableCBT()","line":123,"code":7,)x"
            R"("text":"text"})"
            "\n");
}

TEST_F(LogFile, ReadsBackFromJson) {
  configure(0, LogFormat::json);
  const std::string text =
      "quote \" backslash \\ end \n tab \t bell \x07 \xC3\xA9 \xF0\x9F\x98\x80 ";

  log(4, text + "\xFF");

  Json::Value record;
  ASSERT_TRUE(Json::Reader().parse(written(), record));
  EXPECT_EQ(record["text"].asString(), text + "\xEF\xBF\xBD");
  EXPECT_EQ(record["level"].asString(), "error");
}

class StandardErrorLog : public LogFile {};

TEST_F(StandardErrorLog, IsTheDefaultFromWarningOn) {
  std::string problem;
  ASSERT_TRUE(kestrelvisor::configureLogging({}, problem));

  ::testing::internal::CaptureStderr();
  log(2, "note");
  log(3, "warning");
  const std::string error = ::testing::internal::GetCapturedStderr();

  EXPECT_EQ(error,
            "2026-11-21T13:30:00.123Z WARN  KestrelVisorEngine [42] "
            "KestrelVisorEngine::DisableCBT():123 warning\n");
}

}  // namespace
