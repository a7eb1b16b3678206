#include "environment.pb.h"
#include "tests/kestrelctl/program.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using vrmsim::test::TemporaryFolder;

// Children whose parent has ended become ours, so that none can hide.
class Demo : public ::testing::Test {
 protected:
  Demo() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
  ~Demo() override { prctl(PR_SET_CHILD_SUBREAPER, 0); }

  Arguments command(const Arguments& more = {}) const {
    Arguments words{"demo", "--vrmsim", VRMSIM_EXECUTABLE, "--save", saved};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
  Setting setting() const { return {"", {{"TMPDIR", scratch}}}; }

  static bool noChildIsLeft() { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }
  bool scratchIsEmpty() const { return std::filesystem::is_empty(scratch); }

  TemporaryFolder folder;
  const std::string saved = folder.file("reply.pb");
  const std::string scratch = [this] {
    std::filesystem::create_directory(folder.file("scratch"));
    return folder.file("scratch");
  }();
};

TEST_F(Demo, ShowsEverythingAndKeepsTheReply) {
  const Finished run(command(), setting());

  ASSERT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.output, AllOf(HasSubstr("Bergen data centre  site     3 clusters, 12 hosts"),
                                HasSubstr("Summary\n"), HasSubstr("MACHINE     GUEST SYSTEM"),
                                HasSubstr("Changed-block tracking is off: /service/")));
  EXPECT_THAT(run.talk, AllOf(HasSubstr(" on https://127.0.0.1:"), HasSubstr("$ kestrelctl scan")));
  ScanEnvironmentReply reply;
  ASSERT_TRUE(reply.ParseFromString(TemporaryFolder::read(saved)));
  EXPECT_GT(reply.machine_records_size(), 100);
}

TEST_F(Demo, BreaksItsCommandLinesWhereTheTerminalEnds) {
  TerminalProgram terminal(command(), setting(), 80);
  terminal.waitForText("it is a protobuf ScanEnvironmentReply");  // a terminal does not hold all

  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_THAT(terminal.shown(), HasSubstr(" --user backup \\\r\n      --ca-cert "));
}

TEST_F(Demo, LeavesNothingButTheReply) {
  const Finished run(command(), setting());

  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(noChildIsLeft());
  EXPECT_TRUE(scratchIsEmpty());
}

TEST_F(Demo, SignalEndsTheSimulatorToo) {
  Program program(command(), setting());
  program.waitForTalk("vrmsim serves");

  program.signal(SIGTERM);

  EXPECT_EQ(program.wait(), 128 + SIGTERM);
  EXPECT_TRUE(noChildIsLeft());
  EXPECT_TRUE(scratchIsEmpty());
}

TEST_F(Demo, EvenAKilledOneLeavesNoSimulator) {
  Program program(command(), setting());
  program.waitForTalk("vrmsim serves");

  program.signal(SIGKILL);

  EXPECT_EQ(program.wait(), 128 + SIGKILL);
  // Whatever it left becomes our child and ends by itself; a simulator that stayed would hang this.
  while (waitpid(-1, nullptr, 0) > 0) {
  }
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(Demo, SimulatorThatIsNotThereIsWrongUsage) {
  const Finished run({"demo", "--vrmsim", folder.file("missing"), "--save", saved}, setting());

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, HasSubstr("build the target vrmsim"));
}

TEST_F(Demo, SiteThatTheSimulatorCannotServeIsWrongUsage) {
  const std::string site = folder.write("site.json", "no site");

  const Finished run(command({"--inventory", site}), setting());

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("the simulator cannot serve " + site),
                              HasSubstr("--inventory FILE names another site")));
  EXPECT_TRUE(noChildIsLeft());
  EXPECT_TRUE(scratchIsEmpty());
}

TEST_F(Demo, PlaceForFilesThatIsNotThereIsWrongUsage) {
  const Finished run(command(), {"", {{"TMPDIR", folder.file("missing")}}});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("no temporary folder can be made"),
                              HasSubstr("let the variable TMPDIR name a folder")));
}

TEST_F(Demo, SimulatorThatEndsAtOnceIsTold) {
  const std::string program = folder.write("short", "#!/bin/sh\nexit 4\n");
  std::filesystem::permissions(program, std::filesystem::perms(0700));

  const Finished run({"demo", "--vrmsim", program, "--save", saved}, setting());

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("the simulator ended with exit code 4 before it was ready"),
                              HasSubstr("--vrmsim PATH names the simulator")));
  EXPECT_TRUE(noChildIsLeft());
  EXPECT_TRUE(scratchIsEmpty());
}

TEST_F(Demo, ProgramThatIsNoSimulatorIsTold) {
  const std::string program = folder.write(
      "strange", "#!/bin/sh\nmkfifo $0.pipe\necho good morning\nread forever < $0.pipe\n");
  std::filesystem::permissions(program, std::filesystem::perms(0700));

  const Finished run({"demo", "--vrmsim", program, "--save", saved}, setting());

  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.talk, HasSubstr("no simulator: it says good morning"));
  EXPECT_TRUE(noChildIsLeft());
}

TEST_F(Demo, SettingsForRealManagersStayOutOfIt) {
  const std::string program = folder.write("show", "#!/bin/sh\nenv | grep KESTREL >&2\n");
  std::filesystem::permissions(program, std::filesystem::perms(0700));
  Setting real = setting();
  real.environment.emplace_back("KESTRELVISOR_PASSWORD", "Correct-Horse");
  real.environment.emplace_back("KESTRELVISOR_PASSWORD_KEY", "no key");

  EXPECT_THAT(Finished({"demo", "--vrmsim", program, "--save", saved}, real).talk,
              ::testing::Not(HasSubstr("KESTRELVISOR_")));
  EXPECT_EQ(Finished(command(), real).status, 0);
}

TEST_F(Demo, SiteWithoutMachinesHasNothingToSwitchOff) {
  const std::string site =
      folder.write("site.json", R"({"sites": [{"id": "S1", "name": "empty", "isSelf": true}]})");

  const Finished run(command({"--inventory", site}), setting());

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_THAT(run.talk, HasSubstr("has no machine to switch CBT off on"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
