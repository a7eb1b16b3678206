#include "kestrelctl/engine_session.h"

#include "kestrelctl/standard_output_exchange.h"
#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::HasSubstr;

ConnectionOptions connectionTo(const Simulator& manager) {
  ConnectionOptions options;
  options.manager = readManagerAddress(manager.url());
  options.user = kUser;
  return options;
}

// The engine keeps its sessions by address for the life of the process: each test has its own.
SimulatorOptions optionsOfNextManager() {
  static int count = 0;
  SimulatorOptions options = managerOptions();
  options.bindAddress = "127.0.0." + std::to_string(2 + count++ % 250);
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
  EngineSession session{connectionTo(manager)};
};

TEST_F(Session, ScanFillsTheReplyAndHandsOverTheDump) {
  ScanEnvironmentReply reply;
  std::stringbuf dump;
  std::streambuf* const before = std::cout.rdbuf();

  EXPECT_EQ(session.scan(reply, dump), 0U);

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

TEST_F(Session, ScanCountsMachinesThatCannotBeRead) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].uuid = "no uuid"; });
  ScanEnvironmentReply reply;
  Discard dropped;

  EXPECT_EQ(session.scan(reply, dropped), 1U);
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
