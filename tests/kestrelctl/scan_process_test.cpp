#include "tests/kestrelctl/fixture.h"

#include <json/json.h>

#include <sstream>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// The requests for machines, in order: count and page of the cluster, of the host without cluster
// and of the cluster's host, which is the first host.
constexpr const char* kCountOfClustersHost = "path=/service/sites/*/vms nth=5 ";

class ScanAccounting : public ManagerTest {
 protected:
  using Change = std::function<void(vrmsim::Inventory&)>;

  Finished scan(const Arguments& more = {}) const { return Finished(command({"scan"}, more)); }

  std::string urnOf(std::size_t machine) const {
    const vrmsim::Inventory site = manager.inventory();
    return vrmsim::objectUrn(site.ownSite(), "vms", site.vms[machine].id);
  }
};

TEST_F(ScanAccounting, EndsWithASummaryOnStandardError) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].isLinkClone = true; });

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "4 machines at the manager: 2 recorded, 1 template, 1 linked clone.\n");
}

// What a scan prints, but for the time of the scan, which stands at the end.
std::string withoutTime(const std::string& output) {
  return output.substr(0, output.find("Taken at"));
}

TEST_F(ScanAccounting, UnreadableUuidIsAWarningAndWithStrictExitCode3) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].uuid = "no uuid"; });

  const Finished run = scan();
  const Finished strict = scan({"--strict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(strict.status, 3);
  EXPECT_EQ(withoutTime(strict.output), withoutTime(run.output));
  EXPECT_EQ(strict.talk, run.talk);
  EXPECT_THAT(run.output, HasSubstr("  Machines       2\n"));
  EXPECT_THAT(run.talk,
              AllOf(StartsWith("kestrelctl: warning: 1 machine is missing here: 1 with an "
                               "unreadable UUID; --log-level warning names"),
                    EndsWith("2 recorded, 1 template, 1 with an unreadable UUID.\n")));
}

TEST_F(ScanAccounting, PlaceOutOfScopeIsAWarningAndWithStrictExitCode3) {
  manager.changeInventory([](vrmsim::Inventory& site) {
    site.vms[0].cluster = site.clusters[0].id;
    site.vms[0].host = "nowhere";
  });

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.talk, HasSubstr("1 in a place that is not part of the result"));
}

TEST_F(ScanAccounting, MachineThatGoesWhileTheScanRunsIsUnexplained) {
  manager.addFault(kCountOfClustersHost + ("remove-vm=" + urnOf(0)));

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("warning: nothing explains why 1 machine"),
                              EndsWith("2 recorded, 1 template, 1 unexplained.\n")));
}

TEST_F(ScanAccounting, MachineThatIsToldTwiceIsAWarning) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms.push_back(site.vms[0]); });

  const Finished run = scan();

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 machine stands here more than once"));
}

TEST_F(ScanAccounting, TwoMachinesWithOneGuidAreAWarning) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[1].uuid = site.vms[0].uuid; });

  const Finished run = scan();

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("warning: the reply has 1 GUID more than once"),
                              Not(HasSubstr("stands here more than once"))));
}

TEST_F(ScanAccounting, MachineThatComesWhileTheScanRunsIsNoLoss) {
  manager.addFault(std::string(kCountOfClustersHost) + "add-vms=1");

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk,
              AllOf(HasSubstr("warning: the manager told of 1 machine more than it had counted"),
                    EndsWith("4 recorded, 1 template, 1 more than counted.\n")));
}

TEST_F(ScanAccounting, MachineWhoseDiskIsNotFoundIsRecorded) {
  manager.addFault("path=/service/sites/*/volumes/* nth=1 status=404");

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "4 machines at the manager: 3 recorded, 1 template.\n");
}

TEST_F(ScanAccounting, UnknownGuestSystemIsAWarning) {
  manager.changeInventory([](vrmsim::Inventory& site) {
    site.vms[0].osType = "Linux";
    site.vms[0].osVersion = 99887;
  });

  const Finished run = scan({"--strict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, HasSubstr("warning: the manager's list of guest systems lacks that of 1 "
                                  "machine: Linux number 99887\n"));
}

TEST_F(ScanAccounting, WarningIsWrappedOnATerminal) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].uuid = "no uuid"; });
  TerminalProgram program(command({"scan"}, {"--progress", "none"}), {"", {{"TERM", "dumb"}}});
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  std::istringstream shown(program.shown().substr(program.shown().find("kestrelctl: warning:")));
  std::string line;
  std::getline(shown, line);
  EXPECT_EQ(line, "kestrelctl: warning: 1 machine is missing here: 1 with an unreadable UUID;\r");
  std::getline(shown, line);
  EXPECT_EQ(line, "  --log-level warning names those with a bad UUID\r");
}

TEST_F(ScanAccounting, ManagerWithoutAnOwnSiteIsAWarningBesideTheError) {
  manager.answerOnce("GET", "/service/sites", 1, {200, {}, R"({"sites":[]})"});

  const Finished run = scan();

  EXPECT_EQ(run.status, 8);
  EXPECT_THAT(run.talk, AllOf(HasSubstr("warning: the manager calls none of its sites its own"),
                              HasSubstr("error: scanning failed")));
}

class ScanProgressOption : public ManagerTest {
 protected:
  // Each longer than the counts are paced, all together longer than the display is.
  void letDisksTakeTheirTime() { manager.addFault("path=*/volumes/* delay=120ms"); }
};

TEST_F(ScanProgressOption, TerminalShowsALineThatIsGoneAtTheEnd) {
  letDisksTakeTheirTime();
  TerminalProgram program(command({"scan"}));
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  const std::string& shown = program.shown();
  EXPECT_THAT(shown, AllOf(HasSubstr("\r\x1b[KAsking the manager about itself"),
                           HasSubstr("\r\x1b[KReading machines and disks  ")));
  const std::size_t last = shown.rfind("\x1b[K");
  EXPECT_THAT(shown.substr(last),
              AllOf(HasSubstr(manager.inventory().sites.front().name), Not(HasSubstr("Reading"))));
}

TEST_F(ScanProgressOption, FailureStandsOnACleanLine) {
  manager.answerOnce("GET", "/service/sites", 1, {500, {}, "{}"});
  TerminalProgram program(command({"scan"}));
  program.waitForText("scanning failed");

  EXPECT_EQ(program.wait(), 8);
  EXPECT_THAT(program.shown(), HasSubstr("\r\x1b[Kkestrelctl: "));
}

TEST_F(ScanProgressOption, TerminalThatCannotDrawOverShowsNone) {
  TerminalProgram program(command({"scan"}), {"", {{"TERM", "dumb"}}});
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), AllOf(Not(HasSubstr("Asking")), Not(HasSubstr("\x1b"))));
}

TEST_F(ScanProgressOption, LogOnTheTerminalIsNotDrawnOver) {
  TerminalProgram program(command({"scan"}, {"--log-level", "error"}));
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), Not(HasSubstr("\x1b[K")));
}

TEST_F(ScanProgressOption, NoneShowsNoneOnATerminal) {
  TerminalProgram program(command({"scan"}, {"--progress", "none"}));
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), Not(HasSubstr("\x1b[K")));
}

TEST_F(ScanProgressOption, LineHasNoColourWhereNobodyWantsIt) {
  TerminalProgram program(command({"scan"}), {"", {{"NO_COLOR", "1"}}});
  program.waitForText("at the manager");

  EXPECT_EQ(program.wait(), 0);
  EXPECT_THAT(program.shown(), AllOf(HasSubstr("Asking"), Not(HasSubstr("\x1b[0m"))));
}

TEST_F(ScanProgressOption, JsonLinesTellProgramsUpToTheEnd) {
  letDisksTakeTheirTime();

  const Finished run(command({"scan"}, {"--progress", "jsonl"}));

  EXPECT_EQ(run.status, 0);
  std::vector<Json::Value> objects;
  std::istringstream talk(run.talk);
  std::string line;
  while (std::getline(talk, line) && line.starts_with("{")) {
    std::istringstream(line) >> objects.emplace_back();
  }
  EXPECT_EQ(line, "4 machines at the manager: 3 recorded, 1 template.");
  ASSERT_GE(objects.size(), 2U);
  EXPECT_EQ(objects.front()["phase"].asString(), "preparing");
  const Json::Value& last = objects.back();
  EXPECT_EQ(last["phase"].asString(), "reply");
  EXPECT_EQ(last["done"].asUInt(), 4U);
  EXPECT_EQ(last["expected"].asUInt(), 4U);
  EXPECT_DOUBLE_EQ(last["secondsLeft"].asDouble(), 0);
  EXPECT_GE(last["secondsElapsed"].asDouble(), 0.25);
}

TEST_F(ScanProgressOption, JsonLinesEndWithALastOneAfterAFailureToo) {
  manager.answerOnce("GET", "/service/sites", 1, {500, {}, "{}"});

  const Finished run(command({"scan"}, {"--progress", "jsonl"}));

  EXPECT_EQ(run.status, 8);
  EXPECT_THAT(run.talk, AllOf(StartsWith("{"), HasSubstr("\"secondsLeft\":null}\nkestrelctl: ")));
}

TEST_F(ScanProgressOption, JsonLinesDoNotMixWithTheLog) {
  const Arguments both{"--progress", "jsonl", "--log-level", "info"};
  Arguments apart = both;
  apart.insert(apart.end(), {"--log-file", folder.file("log")});

  const Finished mixed(command({"scan"}, both));

  EXPECT_EQ(mixed.status, 2);
  EXPECT_THAT(mixed.talk, HasSubstr("--log-file FILE puts the log elsewhere"));
  EXPECT_EQ(Finished(command({"scan"}, apart)).status, 0);
}

TEST_F(ScanProgressOption, OtherWordsAreWrongUsage) {
  EXPECT_EQ(Finished(command({"scan"}, {"--progress", "often"})).status, 2);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
