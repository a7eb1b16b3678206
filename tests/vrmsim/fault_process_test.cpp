#include "tests/support/test_headers.h"
#include "tests/vrmsim/rest_client.h"
#include "tests/vrmsim/running_simulator.h"
#include "tests/vrmsim/simulator_fixture.h"
#include "vrmsim/fault_keys.h"
#include "vrmsim/fault_rule.h"

#include <regex>
#include <set>

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST(VrmsimFaults, AreTakenAsOptionsInOrder) {
  RunningSimulator simulator({"--fault", "nth=1 status=503", "--fault", "nth=1 status=504"});
  RestClient client(simulator.port());

  EXPECT_EQ(client.get("/service/versions").status, 503);
  EXPECT_EQ(client.get("/service/versions").status, 504);
  EXPECT_EQ(client.get("/service/versions").status, 200);
  EXPECT_EQ(simulator.end(), 0);
  EXPECT_EQ(simulator.process.errors(), "");
}

TEST(VrmsimFaults, AreTakenFromAFileBeforeTheOptions) {
  const TemporaryFolder folder;
  const std::string file =
      folder.write("faults.json", R"({"seed": 3, "faults": [{"nth": 1, "status": 503}]})");
  RunningSimulator simulator({"--fault", "nth=1 status=504", "--faults", file});
  RestClient client(simulator.port());

  EXPECT_EQ(client.get("/service/versions").status, 503);
  EXPECT_EQ(client.get("/service/versions").status, 504);
}

TEST(VrmsimFaults, TakeTheSeedOfTheOptionOrOfTheFile) {
  const TemporaryFolder folder;
  const std::string file = folder.write("faults.json", R"({"seed": 3, "faults": ["garbage=50"]})");
  const auto garbage = [&](const Arguments& arguments) {
    RunningSimulator simulator(arguments);
    Connection connection(simulator.port());
    connection.send("GET / HTTP/1.1\r\n\r\n");
    return connection.readToTheEnd().bytes;
  };

  const std::string ofSeed3 = garbage({"--fault", "garbage=50", "--fault-seed", "3"});
  EXPECT_EQ(garbage({"--faults", file}), ofSeed3);
  EXPECT_NE(garbage({"--faults", file, "--fault-seed", "4"}), ofSeed3);
  EXPECT_EQ(garbage({"--fault", "garbage=50"}),
            garbage({"--fault", "garbage=50", "--fault-seed", "1"}));
}

TEST(VrmsimFaults, ThatNeverFiredAreToldAtTheEnd) {
  RunningSimulator simulator({"--fault", "name=met status=503", "--fault", "path=/x cut=end"});
  RestClient(simulator.port()).get("/service/versions");

  EXPECT_EQ(simulator.end(), 0);
  EXPECT_EQ(simulator.process.errors(), "vrmsim: this fault never fired: path=/x cut=end\n");
}

TEST(VrmsimFaults, ThatNeverFiredAreAFailureOnDemand) {
  RunningSimulator missed({"--fault", "name=a path=/x cut=end", "--require-faults"});
  RunningSimulator met({"--fault", "status=503", "--require-faults"});
  RestClient(met.port()).get("/service/versions");

  EXPECT_EQ(missed.end(), 3);
  EXPECT_EQ(missed.process.errors(), "vrmsim: this fault never fired: a\n");
  EXPECT_EQ(met.end(), 0);
}

TEST(VrmsimFaults, AreNamedInTheRequestLog) {
  const TemporaryFolder folder;
  const std::string file = folder.file("requests.jsonl");
  RunningSimulator simulator({"--request-log", file, "--fault", "name=busy nth=2 status=503",
                              "--fault", "connection=3 cut=accept"});
  RestClient client(simulator.port());
  client.get("/service/versions");
  client.get("/service/versions");
  Connection(simulator.port()).readToTheEnd();
  simulator.end();

  std::istringstream text(TemporaryFolder::read(file));
  std::vector<Json::Value> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(Answer{0, "", line}.json());
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_FALSE(lines[0].isMember("fault"));
  EXPECT_EQ(lines[1]["fault"].asString(), "busy");
  EXPECT_THAT(lines[2]["time"].asString(), MatchesRegex("20[0-9T:.-]*Z"));
  lines[2].removeMember("time");
  EXPECT_EQ(lines[2], (Answer{0, "",
                              R"({"connection": 3, "fault": "connection=3 cut=accept",)"
                              R"("stage": "accept", "tls": false})"}
                           .json()));
}

TEST(VrmsimControlPort, IsToldInASecondLine) {
  RunningSimulator simulator({"--control-port", "0"});
  const std::string line = simulator.process.readLine();
  EXPECT_THAT(line, MatchesRegex("vrmsim control: http://127\\.0\\.0\\.1:[0-9]+"));

  Connection control(RunningSimulator::portIn(line));
  EXPECT_EQ(control.ask("POST", "/faults", {}, R"({"status": 503})").status, 200);
  EXPECT_EQ(RestClient(simulator.port()).get("/service/versions").status, 503);
  EXPECT_EQ(simulator.end(), 0);
  EXPECT_EQ(simulator.process.errors(), "");
}

TEST(VrmsimControlPort, CountsForTheEnd) {
  RunningSimulator simulator({"--control-port", "0", "--require-faults"});
  Connection control(RunningSimulator::portIn(simulator.process.readLine()));
  control.ask("POST", "/faults", {}, R"({"name": "late", "status": 503})");

  EXPECT_EQ(simulator.end(), 3);
  EXPECT_EQ(simulator.process.errors(), "vrmsim: this fault never fired: late\n");
}

TEST(VrmsimControlPort, ThatIsTakenEndsTheStart) {
  RunningSimulator first({});

  const Outcome outcome({"--control-port", std::to_string(first.port())});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_THAT(outcome.errors, StartsWith("vrmsim: cannot listen on 127.0.0.1 port "));
}

TEST(VrmsimFaults, ThatAreWrongEndTheStart) {
  const TemporaryFolder folder;
  const std::string file = folder.write("faults.json", R"([{"stauts": 503}])");

  const Outcome option({"--fault", "stauts=503"});
  EXPECT_EQ(option.status, 2);
  EXPECT_EQ(option.output, "");
  EXPECT_THAT(option.errors, StartsWith("vrmsim: fault rule 'stauts=503': \"stauts\" is no key; "));
  const Outcome inFile({"--faults", file});
  EXPECT_EQ(inFile.status, 2);
  EXPECT_THAT(inFile.errors, StartsWith("vrmsim: " + file + ": faults[0]: fault rule "));
  const Outcome withoutTls({"--fault", "tls=alert"});
  EXPECT_EQ(withoutTls.status, 2);
  EXPECT_EQ(withoutTls.output, "");
  EXPECT_THAT(withoutTls.errors, HasSubstr("there is no TLS handshake over plain HTTP"));
}

std::set<std::string> keysOfTheTable() {
  std::set<std::string> keys;
  for (const FaultKey& key : faultKeys()) keys.insert(key.name);
  return keys;
}

TEST(VrmsimHelp, KeepsToTheWidthOfATerminal) {
  for (const char* option : {"--help", "--help-faults", "--list-certificates"}) {
    const Outcome help({option});
    EXPECT_EQ(help.status, 0);
    std::istringstream lines(help.output);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(VrmsimHelp, TellsEveryKeyOfAFault) {
  const Outcome help({"--help-faults"});

  std::set<std::string> told;
  const std::regex entry("\n  ([a-z0-9-]+)[= ]");
  for (std::sregex_iterator at(help.output.begin(), help.output.end(), entry), end; at != end;
       ++at) {
    told.insert((*at)[1]);
  }
  EXPECT_EQ(told, keysOfTheTable());
}

// Keep this case and the guide's example the same.
TEST(FaultGuide, ExampleWorks) {
  Simulator manager(smallSiteOptions());
  manager.addFault("name=busy path=/service/sites nth=2 status=503");
  manager.addFault("path=/service/versions cut=headers");

  RestClient client(manager.port());
  client.logIn();
  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 503);
  EXPECT_EQ(manager.journal().back().fault, "busy");
  EXPECT_EQ(manager.unfiredFaults(),
            std::vector<std::string>{"path=/service/versions cut=headers"});
}

TEST(FaultGuide, ShowsTheExampleThatWorks) {
  const std::vector<std::string> examples =
      blocksOf(TemporaryFolder::read(VRMSIM_FAULT_GUIDE), "cpp");

  ASSERT_THAT(examples, SizeIs(1));
  EXPECT_THAT(TemporaryFolder::read(VRMSIM_FAULT_GUIDE_TEST), HasSubstr(examples[0]));
}

TEST(FaultGuide, ShowsAFileThatCanBeUsed) {
  const std::vector<std::string> examples =
      blocksOf(TemporaryFolder::read(VRMSIM_FAULT_GUIDE), "json");

  ASSERT_THAT(examples, SizeIs(1));
  EXPECT_THAT(parseFaultDocument(examples[0]).rules, SizeIs(3));
}

TEST(FaultGuide, ShowsRulesThatCanBeUsed) {
  const std::string guide = TemporaryFolder::read(VRMSIM_FAULT_GUIDE);
  const std::regex rule("--fault '([^']*)'");
  int rules = 0;
  for (std::sregex_iterator at(guide.begin(), guide.end(), rule), end; at != end; ++at, ++rules) {
    EXPECT_NO_THROW(parseFaultRule((*at)[1])) << (*at)[1];
  }
  EXPECT_GE(rules, 4);
}

// The keys in the first columns of the guide's tables.
TEST(FaultGuide, TellsEveryKeyAndNoOther) {
  const std::string guide = TemporaryFolder::read(VRMSIM_FAULT_GUIDE);
  std::set<std::string> told;
  for (std::size_t at = guide.find("\n| key |"); at != std::string::npos;
       at = guide.find("\n| key |", at + 1)) {
    std::istringstream rows(guide.substr(at + 1, guide.find("\n\n", at) - at));
    for (std::string row; std::getline(rows, row);) {
      const std::string cell = row.substr(2, row.find(" | ") - 2);
      const std::regex key("`([a-z0-9-]+)[=`]");
      for (std::sregex_iterator found(cell.begin(), cell.end(), key), end; found != end; ++found) {
        told.insert((*found)[1]);
      }
    }
  }

  EXPECT_EQ(told, keysOfTheTable());
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
