#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/saved_replies.h"

#include <csignal>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Find : public SavedReplies {
 protected:
  Arguments command(const Arguments& more) const {
    Arguments words{"find", "--reply", saved};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }
  std::string names(Arguments more) const {
    more.insert(more.end(), {"-o", "name"});
    const Finished run(command(more));
    EXPECT_EQ(run.status, 0) << run.talk;
    return run.output;
  }
};

constexpr const char* kWeb = "/service/vms/4\n";
constexpr const char* kDatabase = "/service/vms/5\n";

TEST_F(Find, ShowsATableOfMachinesUnlessTold) {
  const Finished run(command({}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.talk, "");
  EXPECT_EQ(run.output,
            "MACHINE   GUEST SYSTEM  ON   DISKS     SIZE\n"
            "web       Debian        cna      1   40 GiB\n"
            "database  Windows       cna      1  1.5 TiB\n");
}

TEST_F(Find, ObeysEachCondition) {
  EXPECT_EQ(names({"--name", "w*"}), kWeb);
  EXPECT_EQ(names({"--guest", "Windows"}), kDatabase);
  EXPECT_EQ(names({"--guest", "windows", "-i"}), kDatabase);
  EXPECT_EQ(names({"--group", "General", "--host", "c??", "--name", "web"}), kWeb);
  EXPECT_EQ(names({"--group", "vdi"}), "");
  EXPECT_EQ(names({"--cluster", "east", "--larger", "100GiB"}), kDatabase);
  EXPECT_EQ(names({"--datastore", "lun", "--smaller", "1TB"}), kWeb);
  EXPECT_EQ(names({"--kind", "datastore"}), "/service/datastores/1\n");
}

TEST_F(Find, RepeatedConditionTakesAnyOfItsValues) {
  EXPECT_EQ(names({"--name", "web", "--name", "data*"}), std::string(kWeb) + kDatabase);
  EXPECT_EQ(names({"--kind", "machine", "--kind", "datastore", "--name", "[lw]*"}),
            std::string("/service/datastores/1\n") + kWeb);
}

TEST_F(Find, AllKindsHaveATableEach) {
  EXPECT_THAT(Finished(command({"--kind", "all"})).output,
              AllOf(HasSubstr("SITE  "), HasSubstr("\n\nHOST  "), HasSubstr("\n\nDISK  ")));
}

TEST_F(Find, NothingFoundIsNoError) {
  const Finished run(command({"--name", "*nobody*"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.talk, "Nothing was found.\n");
}

TEST_F(Find, TellsHowToFindAPartOfAName) {
  EXPECT_EQ(Finished(command({"--guest", "Deb"})).talk,
            "Nothing was found. A GLOB must match the whole text: '*Deb*' finds its parts, too.\n");
}

TEST_F(Find, ProgramsGetADocumentWhetherOrNotSomethingIsFound) {
  EXPECT_THAT(Finished(command({"--kind", "all", "-o", "json"})).output,
              HasSubstr("\"name\" : \"lun\""));
  EXPECT_THAT(Finished(command({"--name", "nobody", "-o", "json"})).output,
              HasSubstr("\"machines\" : []"));
  EXPECT_THAT(Finished(command({"--kind", "all", "-o", "jsonl"})).output,
              AllOf(HasSubstr("{\"record\":\"datastore\","), HasSubstr("{\"record\":\"disk\",")));
  EXPECT_THAT(Finished(command({"--name", "nobody", "-o", "jsonl"})).output,
              ::testing::StartsWith("{\"record\":\"summary\","));
}

TEST_F(Find, ReadsStandardInput) {
  const Finished run({"find", "--reply", "-", "--name", "web", "-o", "name"},
                     {TemporaryFolder::read(saved), {}});

  EXPECT_EQ(run.output, kWeb) << run.talk;
}

TEST_F(Find, WrongValuesAreWrongUsage) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"--larger", "100"}, "--larger: \"100\" is no size"},
      {{"--smaller", ""}, "--smaller: \"\" is no size"},
      {{"--group", "nobody"}, "--group: there is no group \"nobody\""},
      {{"--group", "VDI2"}, "--group: there is no group \"VDI2\""},
      {{"--kind", "vm"}, "--kind"},
      {{"-o", "protobuf"}, "--output"},
      {{"--manager", "http://127.0.0.1:1"}, "--reply and --manager exclude each other"},
      {{"--user", "backup"}, "--reply and --user exclude each other"},
      {{"--timeout", "5s"}, "--reply and --timeout exclude each other"},
      {{"--no-strict-tls"}, "--reply and --strict-tls exclude each other"},
      {{"--password-stdin"}, "--reply and --password-stdin exclude each other"},
      {{"--progress", "none"}, "--reply and --progress exclude each other"}};
  for (const auto& [words, text] : cases) {
    const Finished run(command(words));
    EXPECT_EQ(run.status, 2) << text;
    EXPECT_THAT(run.talk, HasSubstr(text));
  }
}

TEST_F(Find, GroupIsFoundHoweverItsNameIsWritten) {
  for (const char* group : {"open stack", "Open-Stack", "OPENSTACK", "open_stack"}) {
    EXPECT_EQ(names({"--group", group}), "") << group;
  }
}

TEST_F(Find, FlagInFrontOfTheFormHidesNotThatErrorsAreWantedInJson) {
  const Finished run(command({"--larger", "100", "-io", "json"}));

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.output, HasSubstr("\"exitName\" : \"wrongUsage\""));
}

TEST_F(Find, RecordsWithoutAPlaceAreWarnedOf) {
  ScanEnvironmentReply reply = sampleReply();
  addMachine(reply, 99, "Debian", 1);

  const Finished run({"find", "--reply", save("stray.pb", reply), "-o", "json"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, HasSubstr("warning: the reply has 2 records without a place"));
  EXPECT_THAT(run.output, HasSubstr("\"kind\" : \"records-without-place\""));
}

TEST_F(Find, KeptReplyNeedsNoManagerOfTheEnvironment) {
  const Finished run(
      command({"--name", "web", "-o", "name"}),
      {"", {{"KESTRELVISOR_MANAGER", "http://127.0.0.1:1"}, {"KESTRELVISOR_USER", "backup"}}});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, kWeb);
}

TEST(FindSource, MustBeNamed) {
  const Finished neither({"find", "--name", "web"});
  EXPECT_EQ(neither.status, 2);
  EXPECT_THAT(neither.talk, AllOf(HasSubstr("neither a reply nor a manager is named"),
                                  HasSubstr("--reply FILE")));

  const Finished nobody({"find", "--manager", "http://127.0.0.1:1"});
  EXPECT_EQ(nobody.status, 2);
  EXPECT_THAT(nobody.talk, HasSubstr("--user is required"));
}

TEST_F(Find, ReaderThatLeavesIsNoReasonToTalk) {
  const std::string large = save("large.pb", largeReply());
  for (const char* format : {"table", "wide", "json", "jsonl", "name"}) {
    Program program({"find", "--reply", large, "-o", format});
    program.closeOutput();
    EXPECT_EQ(program.wait(), 128 + SIGPIPE) << format;
    EXPECT_EQ(program.talk(), "") << format;
  }
}

class FindLive : public ManagerTest {};

TEST_F(FindLive, LooksOnAManager) {
  const vrmsim::Inventory site = manager.inventory();

  const Finished run(command({"find"}, {"--name", site.vms[0].name, "-o", "name"}));

  EXPECT_EQ(run.status, 0) << run.talk;
  EXPECT_EQ(run.output, machineUri(site, 0) + "\n");
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(FindLive, WarningsStandInTheDocument) {
  SimulatorOptions options = managerOptions(true);
  const Simulator unknown(std::move(options));

  const auto foundAs = [&](const char* form) {
    const Finished run({"find", "--manager", unknown.url(), "--user", kUser, "--password-file",
                        passwordFile, "--no-strict-tls", "-o", form});
    EXPECT_EQ(run.status, 0) << run.talk;
    EXPECT_THAT(run.talk, HasSubstr("warning: the manager's certificate"));
    return run.output;
  };

  EXPECT_THAT(foundAs("json"), HasSubstr("\"kind\" : \"unverified-tls\""));
  EXPECT_THAT(foundAs("jsonl"), HasSubstr("\"warnings\":[{\"kind\":\"unverified-tls\""));
}

TEST_F(FindLive, TellsOfMachinesThatTheScanLost) {
  manager.changeInventory([](vrmsim::Inventory& site) { site.vms[0].uuid = "no uuid"; });

  const Finished run(command({"find", "-o", "json"}));

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.talk, HasSubstr("warning: 1 machine is missing"));
  EXPECT_THAT(run.output, HasSubstr("\"kind\" : \"machines-left-out\""));
}

TEST_F(FindLive, FailureOfTheScanIsItsOwn) {
  folder.write("password", "wrong");

  const Finished run(command({"find"}));

  EXPECT_EQ(run.status, 4);
  EXPECT_THAT(run.talk, HasSubstr("the manager refuses the login"));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
