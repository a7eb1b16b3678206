#include "kestrelctl/engine_session.h"

#include "kestrelctl/standard_output_exchange.h"
#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;

ConnectionOptions connectionTo(const Simulator& manager) {
  ConnectionOptions options;
  options.manager = readManagerAddress(manager.url());
  options.user = kUser;
  return options;
}

class Session : public ::testing::Test {
 protected:
  Session() { session.usePassword(kSecret); }

  // How an operation failed; success when it did not.
  template <class Operation>
  static ExitCode exitCodeOf(Operation operation) {
    try {
      operation();
    } catch (const Failure& failure) {
      return failure.exitCode;
    }
    return ExitCode::success;
  }

  Simulator manager{optionsOfNextManager()};
  std::vector<Warning> warnings;
  EngineSession session{connectionTo(manager),
                        [this](const Warning& warning) { warnings.push_back(warning); }};
};

TEST_F(Session, ScanFillsTheReplyAndHandsOverTheDump) {
  ScanEnvironmentReply reply;
  std::stringbuf dump;
  std::streambuf* const before = std::cout.rdbuf();

  session.scan(reply, dump);

  EXPECT_EQ(reply.machine_records_size(), 3);
  EXPECT_THAT(dump.str(), HasSubstr("6 disk(s), 3 machine(s)"));
  EXPECT_EQ(std::cout.rdbuf(), before);
}

TEST_F(Session, FailedScanGivesStandardOutputBack) {
  manager.answerOnce("GET", "/service/versions", 1, {200, {}, R"({"versions":[{"version":""}]})"});
  ScanEnvironmentReply reply;
  Discard dropped;
  std::streambuf* const before = std::cout.rdbuf();

  EXPECT_EQ(exitCodeOf([&] { session.scan(reply, dropped); }), ExitCode::unreadableAnswer);

  EXPECT_EQ(std::cout.rdbuf(), before);
}

TEST_F(Session, ScanAccountsForEachMachine) {
  manager.changeInventory([](vrmsim::Inventory& site) {
    site.vms[0].uuid = "no uuid";
    site.vms[1].isLinkClone = true;
  });
  ScanEnvironmentReply reply;
  Discard dropped;

  const Accounting accounting = session.scan(reply, dropped);

  EXPECT_EQ(accounting.counted, 4U);
  EXPECT_EQ(accounting.recorded, 1U);
  EXPECT_EQ(accounting.templates, 1U);
  EXPECT_EQ(accounting.linkedClones, 1U);
  EXPECT_EQ(accounting.unreadableUuid, 1U);
  EXPECT_EQ(accounting.unexplained(), 0);
  EXPECT_THAT(warnings, ElementsAre(Field(&Warning::kind, "machines-left-out")));
}

TEST_F(Session, ScanForeseesItsExchangesAndTellsTheLast) {
  std::vector<ScanCounts> told;
  ScanEnvironmentReply reply;
  Discard dropped;
  manager.clearJournal();

  session.scan(reply, dropped, [&](const ScanCounts& counts) { told.push_back(counts); });

  ASSERT_GE(told.size(), 2U);
  EXPECT_EQ(told.front().phase, ScanPhase::preparing);
  EXPECT_EQ(told.back().phase, ScanPhase::reply);
  EXPECT_EQ(told.back().objects, 4U);
  EXPECT_EQ(told.back().exchanges, manager.journal().size());
  EXPECT_EQ(told.back().exchangesExpected, told.back().exchanges);
}

TEST_F(Session, FailedScanWarnsOfAManagerWithoutAnOwnSite) {
  manager.answerOnce("GET", "/service/sites", 1, {200, {}, R"({"sites":[]})"});
  ScanEnvironmentReply reply;
  Discard dropped;

  EXPECT_EQ(exitCodeOf([&] { session.scan(reply, dropped); }), ExitCode::managerFailed);

  EXPECT_THAT(warnings, ElementsAre(Field(&Warning::kind, "no-own-site")));
}

TEST_F(Session, SecondOperationWorksAfterAFailedOne) {
  EXPECT_EQ(exitCodeOf([&] { session.disableCbt("/service/sites/none/vms/none"); }),
            ExitCode::managerFailed);

  EXPECT_FALSE(session.verify().empty());
}

TEST_F(Session, RefusalAtTheSecondRequestIsToldInTheManagersWords) {
  manager.answerOnce("GET", "/service/sites", 2,
                     {500, {}, R"({"errorCode":"10000004","errorDes":"Database is down"})"});
  try {
    session.verify();
    FAIL() << "verified";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.exitCode, ExitCode::managerFailed);
    EXPECT_EQ(failure.facts.at(1).text, "Database is down (code 10000004)");
  }
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
