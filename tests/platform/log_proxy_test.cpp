#include "base/log.h"
#include "platform/contract/log.h"
#include "platform/reference/logging.h"
#include "tests/platform/quiet_log.h"
#include "tests/support/grouping_locale.h"
#include "tests/support/test_headers.h"

#include <stdexcept>
#include <thread>

namespace {

using kestrelvisor::LogObserver;
using kestrelvisor::LogRecord;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Eq;

class LogProxyTest : public ::testing::Test {
 protected:
  static void log(int level, const std::string& text) {
    LogProxy(level, "tag", 42, "Engine::scan()", 7) << 0 << text << "";
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> all;
    for (const LogRecord& record : records_) all.push_back(record.text);
    return all;
  }

  std::vector<LogRecord> records_;
  kestrelvisor::test::QuietLog quiet_;
  LogObserver observer_{[this](const LogRecord& record) { records_.push_back(record); }};
};

TEST_F(LogProxyTest, HandsTheWholeRecordToAnObserver) {
  LogProxy(2, "KestrelVisorEngine", 42, "Engine::scan()", 123) << 0 << "count = " << 3 << "";

  ASSERT_EQ(records_.size(), 1U);
  EXPECT_EQ(records_[0].level, 2);
  EXPECT_EQ(records_[0].tag, "KestrelVisorEngine");
  EXPECT_EQ(records_[0].requestId, 42U);
  EXPECT_EQ(records_[0].function, "Engine::scan()");
  EXPECT_EQ(records_[0].line, 123);
  EXPECT_EQ(records_[0].code, 0);
  EXPECT_EQ(records_[0].text, "count = 3");
}

TEST_F(LogProxyTest, CleansEachPieceThatMayQuoteTheManager) {
  const std::string words = "no X-Auth-Token: abc";
  for (int level = 0; level <= 4; ++level) {
    LogProxy(level, "tag", 42, "f()", 7) << 0 << "Credential: refused(" << words << ")";
  }

  EXPECT_THAT(texts(), Each(Eq("Credential: refused(no X-Auth-Token: ***)")));
  EXPECT_EQ(texts().size(), 5U);
}

TEST_F(LogProxyTest, TakesTheFirstIntegerAsTheCode) {
  LogProxy(2, "tag", 0, "f()", 1) << 7 << "seven, then " << 8;

  ASSERT_EQ(records_.size(), 1U);
  EXPECT_EQ(records_[0].code, 7);
  EXPECT_EQ(records_[0].text, "seven, then 8");
}

TEST_F(LogProxyTest, ShowsObserversEveryLevel) {
  for (int level = 0; level <= 4; ++level) log(level, std::to_string(level));

  EXPECT_THAT(texts(), ElementsAre("0", "1", "2", "3", "4"));
}

TEST_F(LogProxyTest, EndsTheRecordWithTheStatement) {
  {
    LogProxy record(2, "tag", 0, "f()", 1);
    record << 0 << "text";
    EXPECT_TRUE(records_.empty());
  }

  EXPECT_THAT(texts(), ElementsAre("text"));
}

TEST_F(LogProxyTest, ShowsARecordToSeveralObserversInTheirOrder) {
  std::vector<std::string> seen;
  const LogObserver second(
      [&](const LogRecord& record) { seen.push_back("second " + record.text); });
  const LogObserver third([&](const LogRecord& record) { seen.push_back("third " + record.text); });

  log(0, "a");

  EXPECT_THAT(texts(), ElementsAre("a"));
  EXPECT_THAT(seen, ElementsAre("second a", "third a"));
}

TEST_F(LogProxyTest, ShowsAnObserverTheLevelsThatItAskedFor) {
  std::vector<std::string> seen;
  std::vector<int> statements;
  const LogObserver second([&](const LogRecord& record) { seen.push_back(record.text); },
                           [&](int level, std::string_view) { statements.push_back(level); }, 3);

  for (int level = 0; level <= 4; ++level) log(level, std::to_string(level));

  EXPECT_THAT(texts(), ElementsAre("0", "1", "2", "3", "4"));
  EXPECT_THAT(seen, ElementsAre("3", "4"));
  EXPECT_THAT(statements, ElementsAre(3, 4));
}

TEST(LogLevels, AreWantedByTheThresholdOrAnObserver) {
  const kestrelvisor::test::QuietLog quiet;
  const auto wanted = [] {
    std::vector<int> levels;
    for (int level = 0; level <= 5; ++level) {
      if (kestrelvisor::isLogWanted(level)) levels.push_back(level);
    }
    return levels;
  };
  EXPECT_THAT(wanted(), ElementsAre(5));
  {
    const LogObserver third([](const LogRecord&) {}, nullptr, 3);
    EXPECT_THAT(wanted(), ElementsAre(3, 4, 5));
    const LogObserver first([](const LogRecord&) {}, nullptr, 1);
    EXPECT_THAT(wanted(), ElementsAre(1, 2, 3, 4, 5));
  }
  EXPECT_THAT(wanted(), ElementsAre(5));
}

TEST_F(LogProxyTest, ShowsNothingToAnObserverThatEnded) {
  std::vector<std::string> seen;
  {
    const LogObserver second([&](const LogRecord& record) { seen.push_back(record.text); });
    log(0, "during");
  }

  log(0, "after");

  EXPECT_THAT(seen, ElementsAre("during"));
}

TEST_F(LogProxyTest, DropsWhatAnObserverThrowsAndGoesOn) {
  std::vector<std::string> seen;
  const LogObserver second([](const LogRecord&) { throw std::runtime_error("observer"); });
  const LogObserver third([&](const LogRecord& record) { seen.push_back(record.text); });

  EXPECT_NO_THROW(log(4, "text"));

  EXPECT_THAT(seen, ElementsAre("text"));
}

TEST_F(LogProxyTest, LetsAnObserverThrowOutOfTheStartOfAStatement) {
  const LogObserver second([](const LogRecord&) {},
                           [](int level, std::string_view function) {
                             if (level == 4 && function == "Engine::scan()")
                               throw std::runtime_error("injected");
                           });

  log(3, "before");
  EXPECT_THROW(log(4, "never"), std::runtime_error);
  log(3, "after");

  EXPECT_THAT(texts(), ElementsAre("before", "after"));
}

TEST_F(LogProxyTest, ObservesNoStatementOfAnObserver) {
  int calls = 0;
  const LogObserver second([&](const LogRecord&) {
    ++calls;
    log(0, "from within");
  });

  log(0, "outer");

  EXPECT_EQ(calls, 1);
  EXPECT_THAT(texts(), ElementsAre("outer"));
}

TEST_F(LogProxyTest, ObservesAgainAfterAnObserverThrew) {
  {
    const LogObserver second(nullptr, [](int, std::string_view) { throw 1; });
    EXPECT_THROW(log(0, "never"), int);
  }

  log(0, "seen");

  EXPECT_THAT(texts(), ElementsAre("seen"));
}

TEST_F(LogProxyTest, KeepsRecordsOfSeveralThreadsWhole) {
  constexpr int kRecords = 200;
  const auto work = [](const std::string& text) {
    for (int i = 0; i < kRecords; ++i) log(0, text);
  };

  std::thread first(work, "aaaa");
  std::thread second(work, "bbbb");
  first.join();
  second.join();

  int whole = 0;
  for (const std::string& text : texts()) whole += text == "aaaa" || text == "bbbb" ? 1 : 0;
  EXPECT_EQ(whole, 2 * kRecords);
}

TEST_F(LogProxyTest, IsWhatTheEnginesStatementUses) {
  *KCPTSP::get(TSP_RequestID) = 99;

  KV_LOG(kWarning, "pieces: ", 1, ' ', true);

  *KCPTSP::get(TSP_RequestID) = 0;
  ASSERT_EQ(records_.size(), 1U);
  EXPECT_EQ(records_[0].level, 3);
  EXPECT_EQ(records_[0].tag, "KestrelVisorEngine");
  EXPECT_EQ(records_[0].requestId, 99U);
  EXPECT_EQ(records_[0].text, "pieces: 1 1");
}

TEST_F(LogProxyTest, WritesNumbersInTheClassicLocale) {
  const kestrelvisor::test::GroupingLocale locale;

  LogProxy(2, "tag", 0, "f()", 1) << 0 << 1234567;

  EXPECT_THAT(texts(), ElementsAre("1234567"));
}

// A piece that counts how often it is written.
struct CountingPiece {
  int* written;
};
std::ostream& operator<<(std::ostream& out, const CountingPiece& piece) {
  ++*piece.written;
  return out;
}

TEST(UnwantedLogProxy, WritesNoPiece) {
  int written = 0;

  LogProxy(2, "tag", 0, "f()", 1) << 0 << CountingPiece{&written};

  EXPECT_EQ(written, 0);
}

TEST(UnwantedLogProxy, IsWantedWhileAnObserverIsThere) {
  int written = 0;
  const LogObserver observer(nullptr);

  LogProxy(2, "tag", 0, "f()", 1) << 0 << CountingPiece{&written};

  EXPECT_EQ(written, 1);
}

}  // namespace
