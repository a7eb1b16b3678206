// Every fault at every kind of request, over HTTP and over HTTPS, at its first attempt and at both.

#include "tests/integration/fault_table/course.h"
#include "tests/integration/fault_table/table_fixture.h"
#include "tests/integration/fault_table/watched_transfers.h"
#include "tests/support/test_headers.h"

#include <iostream>

namespace kestrelvisor::test {
namespace {

struct FaultOver {
  const Fault* fault;
  bool tls;
};

std::vector<FaultOver> faultsOverAll() {
  std::vector<FaultOver> all;
  for (const Fault& fault : faults()) {
    if (fault.over != Over::https) all.push_back({&fault, false});
    if (fault.over != Over::http) all.push_back({&fault, true});
  }
  return all;
}

// What all cases of the process come to.
struct Summary {
  int rows = 0;
  int asTold = 0;
  int nextGood = 0;
};
Summary summary;

class FaultTable : public TableTest, public ::testing::WithParamInterface<FaultOver> {
 protected:
  FaultTable() : TableTest(GetParam().tls) {}
  static void TearDownTestSuite() {
    std::cout << "fault table: " << summary.rows << " rows, " << summary.asTold
              << " ended as told, " << summary.nextGood << " times the next operation was good\n";
  }

  void runRow(const RequestKind& kind, std::size_t attempts) {
    Row row{&kind, GetParam().fault, attempts, transfersBefore(kind, site())};
    KestrelVisorEngine engine;
    resetManager();
    if (kind.request == kLogout) openSessionOfAnotherUser(engine);
    const std::uint64_t before = lastConnection();

    for (const std::string& rule : rulesOf(row)) simulator().addFault(rule);
    Course course = strike(engine, row);
    EXPECT_THAT(simulator().unfiredFaults(), ::testing::IsEmpty());
    simulator().clearFaults();
    const Course next = operate(engine, nextOperation(kind));

    course.connections = firstConnection() - before - 1;
    count(course, expectedCourse(row, site()), next);
  }

 private:
  // HTTPS is dear and differs below the requests only: a verification tells as much.
  static Operation nextOperation(const RequestKind& kind) {
    return GetParam().tls ? Operation::verify : kind.operation;
  }

  Course strike(KestrelVisorEngine& engine, Row& row) {
    WatchedTransfers transfers;
    if (row.fault->patience == Patience::untilTimeout) {
      transfers.waitFor(row.transfers, row.attempts,
                        [this] { return simulator().faults().front().hits; });
    }
    const Course course = operate(engine, row.kind->operation);
    EXPECT_THAT(transfers.wrongOptions(), ::testing::IsEmpty());
    if (!row.fault->effect.results.empty()) takeResults(transfers.results(), row);
    return course;
  }

  // Each struck transfer ends in one of the fault's ways; what hosts are told of it follows.
  static void takeResults(const std::vector<CURLcode>& results, Row& row) {
    const std::size_t failing = row.fault->thenWords == nullptr ? row.attempts : 1;
    for (std::size_t i = 0; i < failing && row.transfers + i < results.size(); ++i) {
      row.results.push_back(results[row.transfers + i]);
    }
    EXPECT_THAT(row.results, ::testing::SizeIs(failing));
    EXPECT_THAT(row.results, ::testing::Each(::testing::AnyOfArray(row.fault->effect.results)));
  }

  static void count(const Course& course, const Course& expected, const Course& next) {
    ++summary.rows;
    expectSame(course, expected);
    if (course == expected) ++summary.asTold;
    EXPECT_TRUE(isGood(next)) << "the next operation: " << ::testing::PrintToString(next.lines);
    if (isGood(next)) ++summary.nextGood;
  }

  static bool isGood(const Course& course) {
    return course.thrown == Thrown::nothing && course.status == 0 && course.ownSessions == 1 &&
           course.sharedSessions == 1;
  }
};

TEST_P(FaultTable, EndsAsToldForEveryRequest) {
  for (const RequestKind& kind : kRequestKinds) {
    for (const std::size_t attempts : {1U, 2U}) {
      SCOPED_TRACE(std::string(kind.name) +
                   (attempts == 1 ? ", first attempt" : ", both attempts"));
      ASSERT_NO_FATAL_FAILURE(runRow(kind, attempts));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, FaultTable, ::testing::ValuesIn(faultsOverAll()), [](const auto& row) {
  return std::string(row.param.fault->name) + (row.param.tls ? "OverHttps" : "OverHttp");
});

// The table's own ground: without a fault every operation goes as told, too.
class CleanTable : public TableTest, public ::testing::WithParamInterface<bool> {
 protected:
  CleanTable() : TableTest(GetParam()) {}
};

TEST_P(CleanTable, EndsAsToldForEveryRequest) {
  for (const RequestKind& kind : kRequestKinds) {
    SCOPED_TRACE(kind.name);
    KestrelVisorEngine engine;
    resetManager();
    if (kind.request == kLogout) openSessionOfAnotherUser(engine);

    Course course = operate(engine, kind.operation);

    course.connections = course.requests.size();
    expectSame(course, expectedCourse({&kind, nullptr, 0, 0}, site()));
  }
}

INSTANTIATE_TEST_SUITE_P(Over, CleanTable, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Https" : "Http"; });

}  // namespace
}  // namespace kestrelvisor::test
