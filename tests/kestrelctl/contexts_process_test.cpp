#include "tests/kestrelctl/fixture.h"
#include "tests/kestrelctl/help_page.h"
#include "tests/kestrelctl/json_answer.h"

#include <cctype>
#include <memory>

namespace kestrelvisor::ctl::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = std::filesystem;

using Variables = std::vector<std::pair<std::string, std::string>>;

class ContextsOfAUser : public ManagerTest {
 protected:
  Finished run(const Arguments& words, Variables variables = {}) const {
    variables.emplace_back("XDG_CONFIG_HOME", folder.file("settings"));
    return Finished(words, {"", std::move(variables)});
  }

  // A context for the manager that works.
  void addGood(const std::string& name = "good") const {
    const Finished added = run({"contexts", "add", name, "--manager", manager.url(), "--user",
                                kUser, "--password-file", passwordFile});
    ASSERT_EQ(added.status, 0) << added.talk;
  }

  void writeFile(const std::string& text, fs::perms mode = fs::perms(0600)) const {
    fs::create_directories(folder.file("settings/kestrelctl"));
    fs::permissions(folder.file("settings/kestrelctl"), fs::perms(0700));
    folder.write("settings/kestrelctl/contexts.toml", text);
    fs::permissions(contextFile, mode);
  }

  std::string contextFile = folder.file("settings/kestrelctl/contexts.toml");
};

TEST_F(ContextsOfAUser, StandInForOptions) {
  addGood();

  EXPECT_EQ(run({"verify", "--context", "good"}).status, 0);
  EXPECT_EQ(run({"scan", "--context", "good", "-o", "name"}).status, 0);
  EXPECT_EQ(run({"doctor", "--context", "good", "-q"}).status, 0);
}

TEST_F(ContextsOfAUser, AreNamedByTheEnvironmentToo) {
  addGood();

  EXPECT_EQ(run({"verify"}, {{"KESTRELVISOR_CONTEXT", "good"}}).status, 0);
}

TEST_F(ContextsOfAUser, AreKeptForTheOwnerAloneWithoutASecret) {
  addGood();

  EXPECT_EQ(fs::status(contextFile).permissions(), fs::perms(0600));
  const std::string text = TemporaryFolder::read(contextFile);
  EXPECT_THAT(
      text, AllOf(HasSubstr("[contexts.good]"), HasSubstr(manager.url()), Not(HasSubstr(kSecret))));
}

TEST_F(ContextsOfAUser, AreListedShownAndRemoved) {
  addGood("one");
  addGood("two");

  const Finished list = run({"contexts"});
  EXPECT_THAT(list.output, AllOf(HasSubstr("CONTEXT"), HasSubstr("one"), HasSubstr("two"),
                                 HasSubstr(manager.url()), HasSubstr(kUser)));
  EXPECT_THAT(run({"contexts", "show", "one"}).output,
              HasSubstr("password-file     " + passwordFile + "\n"));
  EXPECT_EQ(run({"contexts", "remove", "one"}).status, 0);
  EXPECT_THAT(run({"contexts", "list"}).output, Not(HasSubstr("one")));
  EXPECT_EQ(run({"contexts", "show", "one"}).status, 2);
}

TEST_F(ContextsOfAUser, AreADocumentToo) {
  addGood();

  const Finished list = run({"contexts", "-o", "json"});

  const Json::Value document = parsedAnswer(list.output);
  EXPECT_EQ(document["contexts"][0]["name"], "good");
  EXPECT_EQ(document["contexts"][0]["options"]["user"], kUser);
}

TEST_F(ContextsOfAUser, AreADocumentInWhichSwitchesAreTrueOrFalse) {
  const Finished added = run({"contexts", "add", "x", "--manager", "https://vrm", "--keep-address",
                              "--no-strict-tls", "-o", "json"});

  const Json::Value document = parsedAnswer(added.output);
  const Json::Value& options = document["contexts"][0]["options"];
  EXPECT_EQ(options["keep-address"], true);
  EXPECT_EQ(options["strict-tls"], false);
}

TEST_F(ContextsOfAUser, AreADocumentWhenTheyComeAndGo) {
  const Finished added = run({"contexts", "add", "x", "--manager", "https://vrm", "-o", "json"});
  const Finished removed = run({"contexts", "remove", "x", "-o", "yaml"});

  EXPECT_EQ(parsedAnswer(added.output)["contexts"][0]["options"]["manager"], "https://vrm");
  EXPECT_THAT(removed.output, AllOf(HasSubstr("name: \"x\""), HasSubstr("https://vrm")));
}

TEST_F(ContextsOfAUser, HoldNothingButWhatWasSaid) {
  addGood("prod");

  const Finished added = run({"contexts", "add", "test", "--manager", "https://test"},
                             {{"KESTRELVISOR_CONTEXT", "prod"},
                              {"KESTRELVISOR_USER", "stranger"},
                              {"KESTRELVISOR_PASSWORD_COMMAND", "pass show prod"},
                              {"KESTRELVISOR_STRICT_TLS", "false"}});

  EXPECT_EQ(added.status, 0) << added.talk;
  EXPECT_EQ(run({"contexts", "show", "test"}).output, "manager           https://test\n");
}

TEST_F(ContextsOfAUser, ThatAreNotThereAreToldWithTheVariableThatNamesThem) {
  EXPECT_THAT(run({"verify"}, {{"KESTRELVISOR_CONTEXT", "nope"}}).talk,
              AllOf(HasSubstr("there is no context \"nope\""),
                    HasSubstr("also from KESTRELVISOR_CONTEXT")));
}

TEST_F(ContextsOfAUser, AreManagedWithoutOne) {
  const Variables stale{{"KESTRELVISOR_CONTEXT", "nope"}};

  EXPECT_EQ(run({"contexts"}, stale).status, 0);
  EXPECT_EQ(run({"contexts", "add", "x", "--manager", "https://vrm"}, stale).status, 0);
  const Finished named =
      run({"contexts", "add", "y", "--manager", "https://vrm", "--context", "x"});
  EXPECT_EQ(named.status, 2);
  EXPECT_THAT(named.talk, HasSubstr("--context has no place here"));
}

TEST_F(ContextsOfAUser, AreOfNoUseWithAKeptReply) {
  const std::string reply = folder.file("reply.pb");
  ASSERT_EQ(run(command({"scan", "--save", reply})).status, 0);

  const Finished found = run({"find", "--reply", reply}, {{"KESTRELVISOR_CONTEXT", "nope"}});

  EXPECT_EQ(found.status, 0) << found.talk;
}

TEST_F(ContextsOfAUser, NoneIsSaidToBeThere) {
  const Finished list = run({"contexts"});

  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.output, "");
  EXPECT_THAT(list.talk, HasSubstr("There is no context yet"));
}

TEST_F(ContextsOfAUser, KeepWhatStandsBesideThem) {
  writeFile("# by hand\n[contexts.old]\nmanager = \"https://old\"  # the old one\ntimeout = 30\n");

  addGood();

  const std::string text = TemporaryFolder::read(contextFile);
  EXPECT_THAT(text, AllOf(HasSubstr("[contexts.old]"), HasSubstr("the old one")));
  EXPECT_THAT(run({"contexts", "show", "old"}).output, HasSubstr("timeout           30\n"));
}

TEST_F(ContextsOfAUser, TakeThePlaceOfOthersOnlyWhenTold) {
  addGood();
  const Arguments again{"contexts", "add", "good", "--manager", "https://other"};
  EXPECT_EQ(run(again).status, 2);

  Arguments replacing = again;
  replacing.push_back("--replace");
  EXPECT_EQ(run(replacing).status, 0);

  EXPECT_THAT(run({"contexts", "show", "good"}).output,
              AllOf(HasSubstr("https://other"), Not(HasSubstr(kUser))));
}

TEST_F(ContextsOfAUser, AreAllKeptThatAreAddedAtOnce) {
  constexpr int kMany = 16;
  const Setting setting{"", {{"XDG_CONFIG_HOME", folder.file("settings")}}};
  std::vector<std::unique_ptr<Program>> programs;
  for (int i = 0; i < kMany; ++i) {
    programs.push_back(std::make_unique<Program>(
        Arguments{"contexts", "add", "c" + std::to_string(i), "--manager", "https://vrm"},
        setting));
  }
  for (const auto& program : programs) EXPECT_EQ(program->wait(), 0) << program->talk();

  const Finished list = run({"contexts", "-o", "json"});

  EXPECT_EQ(parsedAnswer(list.output)["contexts"].size(), static_cast<unsigned>(kMany));
}

TEST_F(ContextsOfAUser, FileNamesBecomeWhole) {
  ASSERT_EQ(
      run({"contexts", "add", "x", "--manager", "https://vrm", "--ca-cert", "vrm.pem"}).status, 0);

  EXPECT_THAT(run({"contexts", "show", "x"}).output,
              HasSubstr((fs::current_path() / "vrm.pem").string()));
}

TEST_F(ContextsOfAUser, MistypedNameNamesTheNearest) {
  addGood("production");

  const Finished finished = run({"verify", "--context", "prodution"});

  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, AllOf(HasSubstr("there is no context \"prodution\""),
                                   HasSubstr("did you mean production?")));
}

TEST_F(ContextsOfAUser, AreTakenByCommandsThatAskNoManager) {
  addGood();

  EXPECT_EQ(run({"version", "--context", "good"}).status, 0);
  EXPECT_EQ(run({"version", "--context", "bad"}).status, 2);
  EXPECT_EQ(run({"version"}, {{"KESTRELVISOR_CONTEXT", "bad"}}).status, 0);
}

TEST_F(ContextsOfAUser, HelpNeedsNone) {
  EXPECT_EQ(run({"scan", "--help"}, {{"KESTRELVISOR_CONTEXT", "bad"}}).status, 0);
}

struct BadFile {
  const char* name;
  const char* text;
  const char* complaint;
};

class ContextsInABadFile : public ContextsOfAUser, public ::testing::WithParamInterface<BadFile> {};

TEST_P(ContextsInABadFile, AreRefused) {
  writeFile(GetParam().text);

  const Finished finished = run({"verify", "--context", "x"});

  EXPECT_EQ(finished.status, 2);
  EXPECT_THAT(finished.talk, HasSubstr(GetParam().complaint));
  EXPECT_THAT(finished.talk, Not(HasSubstr("hunter2")));
}

INSTANTIATE_TEST_SUITE_P(
    Written, ContextsInABadFile,
    ::testing::Values(
        BadFile{"NoToml", "[contexts.x\n", "no TOML"},
        BadFile{"WithAPassword", "[contexts.x]\npassword = \"hunter2\"\n",
                "a context holds no secret"},
        BadFile{"WithAnUnknownKey", "[contexts.x]\nmanger = \"https://vrm\"\n",
                "did you mean manager?"},
        BadFile{"WithAWrongKind", "[contexts.x]\nmanager = true\n", "a text in quotes"},
        BadFile{"WithANumberTooLarge", "[contexts.x]\nmanager = 12345678901234567890123\n",
                "a text in quotes"},
        BadFile{"WithATextForATruth", "[contexts.x]\nstrict-tls = \"no\"\n", "true or false"},
        BadFile{"WithoutTables", "contexts = 7\n", "is no table"},
        BadFile{"WithAFlatContext", "[contexts]\nx = 7\n", "is no table"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ContextsOfAUser, ThatOthersCanChangeAreNotUsed) {
  addGood();
  for (const auto mode : {0620, 0602}) {
    fs::permissions(contextFile, fs::perms(mode));

    const Finished finished = run({"verify", "--context", "good"});

    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.talk, HasSubstr("others than its owner can write to it"));
  }
  EXPECT_TRUE(manager.journal().empty());
}

TEST_F(ContextsOfAUser, BadNamesAndActionsAreRefused) {
  for (const Arguments& words :
       std::vector<Arguments>{{"contexts", "add", "a b", "--manager", "x"},
                              {"contexts", "add", "x"},
                              {"contexts", "add"},
                              {"contexts", "list", "x"},
                              {"contexts", "drop", "x"},
                              {"contexts", "remove", "x"},
                              {"contexts", "add", "x", "--manager", "a@b"}}) {
    EXPECT_EQ(run(words).status, 2) << words.back();
  }
  EXPECT_FALSE(fs::exists(contextFile));
}

TEST_F(ContextsOfAUser, RefuseWhatTheyCannotHold) {
  for (const Arguments& more :
       std::vector<Arguments>{{"--password-stdin"}, {"--log-file", "x"}, {"--log-level", "info"}}) {
    Arguments words{"contexts", "add", "x", "--manager", "https://vrm"};
    words.insert(words.end(), more.begin(), more.end());
    const Finished finished = run(words);
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.talk, HasSubstr(more.front()));
  }
  EXPECT_FALSE(fs::exists(contextFile));
}

TEST_F(ContextsOfAUser, TakeSettingsOnlyToBeAdded) {
  addGood();
  const std::vector<std::pair<Arguments, const char*>> cases{
      {{"contexts", "--user", "x"}, "only add takes --user"},
      {{"contexts", "show", "good", "--no-strict-tls"}, "only add takes --strict-tls"},
      {{"contexts", "remove", "good", "--replace"}, "only add takes --replace"}};
  for (const auto& [words, complaint] : cases) {
    const Finished finished = run(words);
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.talk, HasSubstr(complaint));
  }
  EXPECT_EQ(run({"contexts", "show", "good"}, {{"KESTRELVISOR_USER", "x"}}).status, 0);
}

// An option takes its value from the first of these: command line, the context that is named there,
// environment, the context that is named there.
class Twins : public ContextsOfAUser {
 protected:
  Finished verify(const Arguments& more, Variables variables = {}) const {
    Arguments words{"verify"};
    words.insert(words.end(), more.begin(), more.end());
    return run(words, std::move(variables));
  }
};

// A command line that is wrong anyway tells which variables had a part in it.
TEST_F(Twins, ThereIsOneForEveryOption) {
  for (const char* const command : kCommands) {
    for (const std::string& option : optionsIn(run({command, "--help"}).output)) {
      if (option == "help" || option == "context" || option == "no-strict-tls") continue;
      const bool isKept = command == std::string("contexts") && option != "output";
      if (isKept && option != "replace") continue;  // must be said
      std::string variable = "KESTRELVISOR_" + option;
      for (char& c : variable) c = c == '-' ? '_' : static_cast<char>(std::toupper(c));
      const Finished finished = run({command, "--nonsense"}, {{variable, "1"}});
      EXPECT_EQ(finished.status, 2);
      EXPECT_THAT(finished.talk, HasSubstr(variable)) << command << " --" << option;
    }
  }
}

TEST_F(Twins, WinOverTheContextOfTheEnvironment) {
  addGood();

  const Finished finished =
      verify({}, {{"KESTRELVISOR_CONTEXT", "good"}, {"KESTRELVISOR_USER", "stranger"}});

  EXPECT_EQ(finished.status, 4);
  EXPECT_THAT(finished.talk, HasSubstr("as stranger"));
}

TEST_F(Twins, YieldToTheContextOfTheCommandLine) {
  addGood();

  const Finished finished =
      verify({"--context", "good"},
             {{"KESTRELVISOR_USER", "stranger"}, {"KESTRELVISOR_MANAGER", "https://other"}});

  EXPECT_EQ(finished.status, 0) << finished.talk;
}

TEST_F(Twins, GiveWhatTheContextOfTheCommandLineLeavesOut) {
  ASSERT_EQ(run({"contexts", "add", "bare", "--manager", manager.url()}).status, 0);

  const Finished finished =
      verify({"--context", "bare"},
             {{"KESTRELVISOR_USER", kUser}, {"KESTRELVISOR_PASSWORD_FILE", passwordFile}});

  EXPECT_EQ(finished.status, 0) << finished.talk;
}

TEST_F(Twins, YieldToTheCommandLineAsContextsDo) {
  addGood();

  EXPECT_EQ(verify({"--context", "good", "--user", "stranger"}).status, 4);
  EXPECT_EQ(verify({"--user", kUser},
                   {{"KESTRELVISOR_CONTEXT", "good"}, {"KESTRELVISOR_USER", "stranger"}})
                .status,
            0);
}

TEST_F(Twins, WhatExcludesAnOptionOfTheCommandLineIsLeftOut) {
  addGood();

  const Finished finished =
      run({"verify", "--context", "good", "--password-command", "echo " + std::string(kSecret)},
          {{"KESTRELVISOR_PASSWORD_STDIN", "true"}});

  EXPECT_EQ(finished.status, 0) << finished.talk;
}

TEST_F(Twins, StandInForTheFormOfResultsAndErrors) {
  addGood();

  const Finished good = verify({"--context", "good"}, {{"KESTRELVISOR_OUTPUT", "json"}});
  EXPECT_TRUE(parsedAnswer(good.output).isMember("guid"));
  const Finished bad = verify({"--nonsense"}, {{"KESTRELVISOR_OUTPUT", "json"}});
  EXPECT_TRUE(parsedAnswer(bad.output).isMember("error"));
}

TEST_F(Twins, OfOneCommandDoNotDisturbAnother) {
  addGood();

  EXPECT_EQ(run({"scan", "--context", "good"}, {{"KESTRELVISOR_OUTPUT", "tree"}}).status, 0);
  EXPECT_EQ(run({"version"}, {{"KESTRELVISOR_TIMEOUT", "soon"}}).status, 0);
}

TEST_F(Twins, ThatCannotBeUsedAreNamed) {
  addGood();
  const std::vector<std::pair<std::string, std::string>> cases{
      {"KESTRELVISOR_TIMEOUT", "soon"},   {"KESTRELVISOR_OUTPUT", "tree"},
      {"KESTRELVISOR_LOG_LEVEL", "loud"}, {"KESTRELVISOR_KEEP_ADDRESS", "maybe"},
      {"KESTRELVISOR_MANAGER", "a b"},    {"KESTRELVISOR_CA_CERT", "/nowhere"}};
  for (const auto& variable : cases) {
    const Finished finished = verify({}, {{"KESTRELVISOR_CONTEXT", "good"}, variable});
    EXPECT_EQ(finished.status, 2) << variable.first;
    if (variable.first == "KESTRELVISOR_CA_CERT") continue;  // seen when the file is read
    EXPECT_THAT(finished.talk, HasSubstr(variable.first));
  }
}

TEST_F(Twins, OfSwitchesTakeTruthAndFalsehood) {
  const std::string uri = machineUri(manager.inventory(), 0);
  const Arguments words = command({"disable-cbt", uri});

  const Finished dry = run(words, {{"KESTRELVISOR_DRY_RUN", "1"}});
  EXPECT_EQ(dry.status, 0) << dry.talk;
  EXPECT_THAT(dry.output, HasSubstr("CBTbackup"));
  EXPECT_EQ(run(words, {{"KESTRELVISOR_DRY_RUN", "false"}}).status, 2);  // asks, without a terminal
  EXPECT_EQ(manager.cbtEnabled(uri), true);
  EXPECT_EQ(run(words, {{"KESTRELVISOR_YES", "yes"}}).status, 0);
  EXPECT_EQ(manager.cbtEnabled(uri), false);
}

TEST_F(Twins, OfASwitchWithAWordForTheOppositeSayEither) {
  Simulator strange(managerOptions(true));
  const Arguments words{"verify", "--manager",       strange.url(), "--user",
                        kUser,    "--password-file", passwordFile};

  EXPECT_EQ(run(words, {{"KESTRELVISOR_STRICT_TLS", "true"}}).status, 6);
  EXPECT_EQ(run(words, {{"KESTRELVISOR_STRICT_TLS", "false"}}).status, 0);
}

TEST_F(Twins, StandForValuesOfEveryKind) {
  const Arguments kept = command({"scan", "--save", folder.file("reply.pb")});
  ASSERT_EQ(run(kept).status, 0);

  const Finished disks =
      run({"find", "-o", "jsonl"}, {{"KESTRELVISOR_REPLY", folder.file("reply.pb")},
                                    {"KESTRELVISOR_KIND", "disk"},
                                    {"KESTRELVISOR_MANAGER", "https://other"}});

  EXPECT_EQ(disks.status, 0) << disks.talk;
  EXPECT_THAT(disks.output, HasSubstr("\"record\":\"disk\""));
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
