// Ends that do not come by themselves: the time limit, and signals.

#include "tests/kestrelctl/watched_manager.h"

#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

using Clock = std::chrono::steady_clock;

// What a manager does that answers nothing more, and how many sessions may be open then.
struct Silence {
  const char* name;
  const char* command;
  std::vector<std::string> faults;
  bool tls = false;
};
void PrintTo(const Silence& silence, std::ostream* out) { *out << silence.name; }

class SilentManager : public ::testing::TestWithParam<Silence> {
 protected:
  SilentManager() {
    for (const std::string& fault : GetParam().faults) manager.addFault(fault);
    std::filesystem::permissions(passwordFile, std::filesystem::perms(0600));
  }

  Simulator manager{managerOptions(GetParam().tls)};
  TemporaryFolder folder;
  std::string passwordFile = folder.write("password", kSecret);
};

TEST_P(SilentManager, MeetsTheTimeLimit) {
  constexpr std::chrono::seconds kGenerous(10);
  const auto start = Clock::now();

  const Finished run({GetParam().command, "--manager", manager.url(), "--user", kUser,
                      "--password-file", passwordFile, "--timeout", "500ms"});

  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.talk, AllOf(HasSubstr("failed: the time limit of 500ms has passed\n"),
                              HasSubstr("manager     " + manager.url() + " as backup"),
                              HasSubstr("--timeout")));
  EXPECT_LT(Clock::now() - start, kGenerous);
}

INSTANTIATE_TEST_SUITE_P(
    TimeLimit, SilentManager,
    ::testing::Values(Silence{"FromTheStart", "verify", {"silence=accept"}},
                      Silence{"InTheHandshake", "verify", {"tls=stall"}, true},
                      Silence{"AfterTheRequest", "verify", {"silence=request"}},
                      Silence{"AtTheLogin", "scan", {"path=/service/session silence=headers"}},
                      Silence{"InTheMiddleOfAScan", "scan", {"path=*/clusters silence=body:10"}},
                      Silence{"ThatTricklesOn", "scan", {"path=*/clusters trickle=1"}},
                      Silence{"EverywhereFromAQueryOn",
                              "scan",
                              {"path=*/clusters silence=request",
                               "method=DELETE path=/service/session silence=request"}}),
    [](const auto& row) { return std::string(row.param.name); });

class TimeLimit : public WatchedManagerTest {};

TEST_F(TimeLimit, LeavesNoSessionAtAManagerThatAnswersLogouts) {
  manager.addFault("path=*/clusters silence=request");

  const Finished run(command({"scan"}, {"--timeout", "1s"}));

  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(manager.openSessions(), 0U);
  EXPECT_THAT(run.talk, Not(HasSubstr("warning")));
}

TEST_F(TimeLimit, NamesTheSessionsThatStayOpen) {
  manager.addFault("path=*/clusters silence=request");
  manager.addFault("method=DELETE path=/service/session silence=request");

  const Finished run(command({"scan"}, {"--timeout", "1s"}));

  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(manager.openSessions(), 2U);
  EXPECT_THAT(run.talk, HasSubstr("warning: 2 sessions may still be open at " + manager.url() +
                                  "; the manager ends them by themselves"));
}

TEST_F(TimeLimit, ThatIsLongEnoughChangesNothing) {
  const Finished run(command({"verify"}, {"--timeout", "1h"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "The manager " + manager.url() + " accepts backup. Its GUID:\n");
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(TimeLimit, SaysWhatMayHaveBeenDone) {
  manager.addFault("path=*/action/CBTbackup silence=request");

  const Finished run(
      command({"disable-cbt", machineUri(manager.inventory(), 0)}, {"--yes", "--timeout", "1s"}));

  EXPECT_EQ(run.status, 7);
  EXPECT_THAT(run.talk, HasSubstr("the manager may have switched changed-block tracking off"));
}

TEST_F(TimeLimit, ThatIsNoneIsWrongUsage) {
  const Finished run(command({"verify"}, {"--timeout", "soon"}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("--timeout: \"soon\" is no duration"),
                              HasSubstr("30s, 2m, 1h30m or 500ms")));
}

TEST_F(TimeLimit, HoldsForLogoutsBehindAGoodResult) {
  manager.addFault("method=DELETE path=/service/session silence=request");

  const Finished run(command({"verify"}, {"--timeout", "1s"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("warning: 2 sessions may still be open"));
}

class Logouts : public WatchedManagerTest {};

TEST_F(Logouts, ThatHangHoldAResultBackForAMomentOnly) {
  manager.addFault("method=DELETE path=/service/session nth=1 silence=request");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("sessions may still be open"));
}

TEST_F(Logouts, ThatTheManagerRefusesAreTold) {
  manager.addFault("method=DELETE path=/service/session nth=1 status=500");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(manager.openSessions(), 1U);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 session may still be open at " + manager.url() +
                                  "; the manager ends it by itself when its time is over"));
}

TEST_F(Logouts, AreNotPossibleForALoginWithoutTheRole) {
  manager.addFault("method=POST path=/service/session take-role=administrator");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(manager.openSessions(), 1U);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 session may still be open"));
}

class Interrupt : public WatchedManagerTest {
 protected:
  // Lets a scan come to a query that is never answered.
  std::unique_ptr<Program> scanUpToTheClusters() {
    manager.addFault("path=*/clusters silence=request");
    auto program = std::make_unique<Program>(command({"scan"}));
    EXPECT_TRUE(arrivals->waitFor(kClusters));
    return program;
  }
};

class InterruptBy : public Interrupt, public ::testing::WithParamInterface<int> {};

TEST_P(InterruptBy, EndsTheOperationAndLogsOut) {
  const auto program = scanUpToTheClusters();

  program->signal(GetParam());

  EXPECT_EQ(program->wait(), 128 + GetParam());
  EXPECT_EQ(manager.openSessions(), 0U);
  EXPECT_EQ(program->talk(), "");
  EXPECT_EQ(program->output(), "");
}

INSTANTIATE_TEST_SUITE_P(Signal, InterruptBy, ::testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

// There the signal goes to both processes.
TEST_F(Interrupt, FromTheTerminalEndsTheOperationAndLogsOut) {
  manager.addFault("path=*/clusters silence=request");
  TerminalProgram program(command({"scan"}));
  ASSERT_TRUE(arrivals->waitFor(kClusters));

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(Interrupt, OfASilentManagerEndsAndNamesTheSessions) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  const auto program = scanUpToTheClusters();

  program->signal(SIGINT);

  EXPECT_EQ(program->wait(), 128 + SIGINT);
  EXPECT_EQ(manager.openSessions(), 2U);
  EXPECT_EQ(program->talk(), "kestrelctl: warning: 2 sessions may still be open at " +
                                 manager.url() +
                                 "; the manager ends them by themselves when their time is over\n");
}

TEST_F(Interrupt, DuringALoginNamesTheSessionThatMayBeThere) {
  manager.addFault("method=POST path=/service/session silence=headers:0");
  Program program(command({"verify"}));
  ASSERT_TRUE(arrivals->waitFor(kLogin));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_THAT(program.talk(), HasSubstr("warning: 1 session may still be open"));
}

// The first signal waits 800 ms for the logouts. One try may be slow on a busy machine.
TEST_F(Interrupt, SecondOneEndsAtOnce) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  constexpr std::chrono::milliseconds kPatience(800);
  auto shortest = Clock::duration::max();
  for (int attempt = 0; attempt < 10 && shortest >= kPatience; ++attempt) {
    Arrivals& seen = *arrivals;
    seen.forget();
    const auto program = scanUpToTheClusters();
    const auto start = Clock::now();
    program->signal(SIGINT);
    ASSERT_TRUE(seen.waitFor(kLogout));
    program->signal(SIGINT);
    ASSERT_EQ(program->wait(), 128 + SIGINT);
    EXPECT_THAT(program->talk(), HasSubstr("warning: 2 sessions may still be open"));
    shortest = std::min(shortest, Clock::now() - start);
  }
  EXPECT_LT(shortest, kPatience);
}

TEST_F(Interrupt, BehindTheResultStillEndsWithTheSignal) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  Program program(command({"verify"}));
  ASSERT_TRUE(arrivals->waitFor(kLogout));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_EQ(program.output(), "");
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
