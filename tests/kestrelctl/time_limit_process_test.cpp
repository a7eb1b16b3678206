// Ends that do not come by themselves: the time limit, and signals.

#include "tests/kestrelctl/json_answer.h"
#include "tests/kestrelctl/watched_manager.h"

#include <sys/stat.h>

#include <csignal>
#include <stdexcept>
#include <thread>

namespace kestrelvisor::ctl::test {
namespace {

using std::chrono::milliseconds;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using vrmsim::test::onlyChildOf;

using Clock = std::chrono::steady_clock;

// How long something takes, the shortest of a few tries: the machine may be busy with other things.
// Tries no more than it takes to come below enough.
template <class Try>
Clock::duration shortest(Clock::duration enough, Try attempt) {
  auto best = Clock::duration::max();
  for (int tries = 0; tries < 4 && best >= enough; ++tries) best = std::min(best, attempt());
  return best;
}

template <class Run>
Clock::duration timeOf(Run run) {
  const auto start = Clock::now();
  run();
  return Clock::now() - start;
}

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

TEST_P(SilentManager, MeetsTheTimeLimitWithinASecond) {
  constexpr milliseconds kLimit(500);
  constexpr milliseconds kPromised = kLimit + milliseconds(1000);
  const auto runIntoIt = [&] {
    const Finished run({GetParam().command, "--manager", manager.url(), "--user", kUser,
                        "--password-file", passwordFile, "--timeout", "500ms"});
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.talk, AllOf(HasSubstr("failed: the time limit of 500ms has passed\n"),
                                HasSubstr("manager     " + manager.url() + " as backup"),
                                HasSubstr("--timeout")));
  };

  EXPECT_LT(shortest(kPromised, [&] { return timeOf(runIntoIt); }), kPromised);
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

class TimeLimit : public WatchedManagerTest {
 protected:
  // Runs a command into a time limit that passes when it is where the test wants it; a slow machine
  // needs a longer one. sessionsBefore is what earlier tries have left.
  template <class IsThere>
  Finished runInto(const Arguments& words, IsThere isThere) {
    for (int seconds = 1;; seconds *= 2) {
      arrivals->forget();
      sessionsBefore = manager.openSessions();
      Finished run(command(words, {"--timeout", std::to_string(seconds) + "s"}));
      if (seconds > 60 || isThere(run)) return run;
    }
  }
  auto at(const char* request) const {
    return [this, request](const Finished&) { return arrivals->has(request); };
  }

  std::size_t sessionsBefore = 0;
};

TEST_F(TimeLimit, LeavesNoSessionAtAManagerThatAnswersLogouts) {
  manager.addFault("path=*/clusters silence=request");

  const Finished run = runInto({"scan"}, at(kClusters));

  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(manager.openSessions(), sessionsBefore);
  EXPECT_THAT(run.talk, Not(HasSubstr("warning")));
}

TEST_F(TimeLimit, NamesTheSessionsThatStayOpen) {
  manager.addFault("path=*/clusters silence=request");
  manager.addFault("method=DELETE path=/service/session silence=request");

  const Finished run = runInto({"scan"}, at(kClusters));

  EXPECT_EQ(run.status, 7);
  EXPECT_EQ(manager.openSessions(), sessionsBefore + 2);
  EXPECT_THAT(run.talk, HasSubstr("warning: 2 sessions may still be open at " + manager.url() +
                                  "; the manager closes them when they expire\n"));
}

TEST_F(TimeLimit, ThatIsLongEnoughChangesNothing) {
  const Finished run(command({"verify"}, {"--timeout", "1h"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "The manager " + manager.url() + " accepts backup. Its GUID:\n");
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(TimeLimit, SaysWhatMayHaveBeenDone) {
  manager.addFault("path=*/action/CBTbackup silence=request");

  const Finished run =
      runInto({"disable-cbt", machineUri(manager.inventory(), 0), "--yes"}, at(kChange));

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

  const Finished run = runInto({"verify"}, [](const Finished& it) { return it.status == 0; });

  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output, "");
  EXPECT_THAT(run.talk, HasSubstr("warning: 2 sessions may still be open"));
}

TEST_F(TimeLimit, HoldsForThePasswordCommand) {
  const std::string pipe = folder.file("pipe");
  mkfifo(pipe.c_str(), 0600);

  const Finished run({"verify", "--manager", manager.url(), "--user", kUser, "--timeout", "1s",
                      "--password-command", "read forever < " + pipe});

  EXPECT_EQ(run.status, 7);
  EXPECT_THAT(run.talk, HasSubstr("error: --password-command: it did not end in time\n"));
}

TEST_F(TimeLimit, HoldsForAPasswordFromStandardInput) {
  Setting setting{kSecret};
  setting.inputStaysOpen = true;

  const Finished run({"verify", "--manager", manager.url(), "--user", kUser, "--timeout", "1s",
                      "--password-stdin"},
                     setting);

  EXPECT_EQ(run.status, 7);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("error: --password-stdin: the password did not come in "
                                        "time\n"),
                              Not(HasSubstr(kSecret))));
}

// Types only when another program, started later, has run into the same limit; a slow machine needs
// a longer one for the rest.
TEST_F(TimeLimit, DoesNotHoldForAPersonWhoTypes) {
  Simulator silent(managerOptions());
  silent.addFault("silence=accept");
  int status = 7;
  for (int seconds = 1; seconds < 60 && status == 7; seconds *= 2) {
    const std::string limit = std::to_string(seconds) + "s";
    TerminalProgram program(
        {"verify", "--manager", manager.url(), "--user", kUser, "--timeout", limit});
    program.waitForText("Password of ");
    const Finished other({"verify", "--manager", silent.url(), "--user", kUser, "--password-file",
                          passwordFile, "--timeout", limit});
    ASSERT_EQ(other.status, 7);
    program.type(std::string(kSecret) + "\n");
    status = program.wait();
  }

  EXPECT_EQ(status, 0);
}

class Logouts : public WatchedManagerTest {};

TEST_F(Logouts, ThatHangHoldAResultBackForAMomentOnly) {
  constexpr milliseconds kPromised(2000);
  constexpr milliseconds kForTheRest(1500);
  manager.addFault("method=DELETE path=/service/session silence=request");
  const auto verify = [&] {
    const Finished run(command({"verify"}));
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.output, "");
    EXPECT_THAT(run.talk, HasSubstr("sessions may still be open"));
  };

  const auto time = shortest(kPromised + kForTheRest, [&] { return timeOf(verify); });

  EXPECT_GE(time, kPromised);
  EXPECT_LT(time, kPromised + kForTheRest);
}

TEST_F(Logouts, ThatTheManagerRefusesAreTold) {
  manager.addFault("method=DELETE path=/service/session nth=1 status=500");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(manager.openSessions(), 1U);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 session may still be open at " + manager.url() +
                                  "; the manager closes it when it expires"));
}

TEST_F(Logouts, AreNotPossibleForALoginWithoutTheRole) {
  manager.addFault("method=POST path=/service/session take-role=administrator");

  const Finished run(command({"verify"}));

  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(manager.openSessions(), 1U);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 session may still be open"));
}

bool hasChild(pid_t process) {
  try {
    return onlyChildOf(process) > 0;
  } catch (const std::runtime_error&) {
    return false;
  }
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
                                 manager.url() + "; the manager closes them when they expire\n");
}

TEST_F(Interrupt, EndsASilentManagersOperationWithinASecond) {
  constexpr milliseconds kPromised(1000);
  manager.addFault("method=DELETE path=/service/session silence=request");
  const auto interrupt = [&] {
    arrivals->forget();
    const auto program = scanUpToTheClusters();
    return timeOf([&] {
      program->signal(SIGINT);
      EXPECT_EQ(program->wait(), 128 + SIGINT);
    });
  };

  EXPECT_LT(shortest(kPromised, interrupt), kPromised);
}

TEST_F(Interrupt, OfAChangeSaysThatItMayHaveBeenMade) {
  manager.addFault("path=*/action/CBTbackup silence=request");
  Program program(command({"disable-cbt", machineUri(manager.inventory(), 0), "--yes"}));
  ASSERT_TRUE(arrivals->waitFor(kChange));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_THAT(program.talk(), HasSubstr("the manager may have switched changed-block tracking "));
}

TEST_F(Interrupt, AfterAChangeSaysThatItWasMade) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  Program program(command({"disable-cbt", machineUri(manager.inventory(), 0), "--yes"}));
  ASSERT_TRUE(arrivals->waitFor(kLogout));

  program.signal(SIGTERM);

  EXPECT_EQ(program.wait(), 128 + SIGTERM);
  EXPECT_THAT(program.talk(), HasSubstr("changed-block tracking had been switched off by then"));
}

TEST_F(Interrupt, BeforeAChangeSaysNothingOfIt) {
  manager.addFault("path=/service/sites silence=request");
  Program program(command({"disable-cbt", machineUri(manager.inventory(), 0), "--yes"}));
  ASSERT_TRUE(arrivals->waitFor(kSites));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_EQ(program.talk(), "");
}

// A named pipe that nobody reads keeps the worker from opening its log.
TEST_F(Interrupt, BeforeTheWorkerIsReadyAsksForNoPassword) {
  const std::string log = folder.file("log");
  mkfifo(log.c_str(), 0600);
  TerminalProgram program(
      {"verify", "--manager", manager.url(), "--user", kUser, "--log-file", log});
  while (!hasChild(program.id())) std::this_thread::yield();

  program.type("\x03");

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_THAT(program.shown(), Not(HasSubstr("Password")));
}

// Whoever draws must not wait for a reader.
TEST_F(Interrupt, IsHeardWhereNobodyReadsTheTalk) {
  manager.addFault("path=*/clusters silence=request");
  Setting setting;
  setting.talkIsFull = true;
  Program program(command({"scan"}, {"--progress", "jsonl"}), setting);
  ASSERT_TRUE(arrivals->waitFor(kClusters));

  program.signal(SIGINT);

  EXPECT_TRUE(arrivals->waitFor(kLogout));
  EXPECT_EQ(program.wait(), 128 + SIGINT);
}

TEST_F(Interrupt, DuringALoginNamesTheSessionThatMayBeThere) {
  manager.addFault("method=POST path=/service/session silence=headers:0");
  Program program(command({"verify"}));
  ASSERT_TRUE(arrivals->waitFor(kLogin));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_THAT(program.talk(), HasSubstr("warning: 1 session may still be open"));
}

// The first signal waits 800 ms for the logouts.
TEST_F(Interrupt, SecondOneEndsAtOnce) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  constexpr milliseconds kPatience(800);
  const auto interruptTwice = [&] {
    arrivals->forget();
    const auto program = scanUpToTheClusters();
    return timeOf([&] {
      program->signal(SIGINT);
      EXPECT_TRUE(arrivals->waitFor(kLogout));
      program->signal(SIGINT);
      EXPECT_EQ(program->wait(), 128 + SIGINT);
      EXPECT_THAT(program->talk(), HasSubstr("warning: 2 sessions may still be open"));
    });
  };

  EXPECT_LT(shortest(kPatience, interruptTwice), kPatience);
}

TEST_F(Interrupt, SecondTerminationWaitsForTheLogouts) {
  manager.addFault("path=*/clusters silence=request");
  manager.addFault("method=DELETE path=/service/session delay=100ms");
  Program program(command({"scan"}));
  ASSERT_TRUE(arrivals->waitFor(kClusters));

  program.signal(SIGTERM);
  ASSERT_TRUE(arrivals->waitFor(kLogout));
  program.signal(SIGTERM);

  EXPECT_EQ(program.wait(), 128 + SIGTERM);
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(Interrupt, BehindTheResultStillEndsWithTheSignal) {
  manager.addFault("method=DELETE path=/service/session silence=request");
  Program program(command({"verify"}));
  ASSERT_TRUE(arrivals->waitFor(kLogout));

  program.signal(SIGINT);

  EXPECT_EQ(program.wait(), 128 + SIGINT);
  EXPECT_EQ(program.output(), "");
}

// What is known of the manager is told however the operation ends.
class UnverifiedManager : public WatchedManagerTest {
 protected:
  UnverifiedManager() : WatchedManagerTest(managerOptions(true)) {}

  // A scan whose certificate is let pass, at a query that is never answered.
  std::unique_ptr<Program> scanUpToTheClusters() {
    manager.addFault("path=*/clusters silence=request");
    auto program = std::make_unique<Program>(command({"scan"}, {"--no-strict-tls", "-o", "json"}));
    EXPECT_TRUE(arrivals->waitFor(kClusters));
    return program;
  }
  static void expectWarning(const std::string& output, const std::string& talk) {
    EXPECT_THAT(talk, HasSubstr("warning: the manager's certificate is not trusted"));
    const Json::Value document = parsedAnswer(output);
    ASSERT_GE(document["warnings"].size(), 1U) << output;
    EXPECT_EQ(document["warnings"][0]["kind"], "unverified-tls");
  }
};

TEST_F(UnverifiedManager, IsToldWhenASignalEndsTheScan) {
  const auto program = scanUpToTheClusters();

  program->signal(SIGINT);

  EXPECT_EQ(program->wait(), 128 + SIGINT);
  expectWarning(program->output(), program->talk());
}

TEST_F(UnverifiedManager, IsToldWhenTheEngineCrashes) {
  const auto program = scanUpToTheClusters();

  kill(onlyChildOf(program->id()), SIGKILL);

  EXPECT_EQ(program->wait(), 9);
  expectWarning(program->output(), program->talk());
}

TEST_F(UnverifiedManager, IsToldWhenTheEngineGivesUpWithAnException) {
  manager.answerOnce("GET", "/service/versions", 1, {200, {}, R"({"versions":[{"version":""}]})"});

  const Finished run(command({"verify"}, {"--no-strict-tls", "-o", "json"}));

  EXPECT_EQ(run.status, 9);
  EXPECT_THAT(run.talk, HasSubstr("gave up with an exception"));
  expectWarning(run.output, run.talk);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
