#include "tests/vrmsim/simulator_fixture.h"

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

class SimulatorJournal : public SimulatorTest {};
class SimulatorCannedAnswer : public SimulatorTest {};
class SimulatorInventory : public SimulatorTest {};
class SimulatorAddress : public SimulatorTest {};

TEST_F(SimulatorJournal, HoldsEachRequestToTheLetter) {
  simulator.clearJournal();

  Connection(simulator.port())
      .ask("POST", "/a?b=urn:x:1", {{"x-ODD", "one"}, {"B", ""}, {"X-Odd", "two"}}, "text");

  const std::vector<RecordedRequest> journal = simulator.journal();
  ASSERT_EQ(journal.size(), 1U);
  EXPECT_EQ(journal[0].method, "POST");
  EXPECT_EQ(journal[0].target, "/a?b=urn:x:1");
  EXPECT_THAT(journal[0].headers,
              ElementsAre(Pair("Host", "manager"), Pair("x-ODD", "one"), Pair("B", ""),
                          Pair("X-Odd", "two"), Pair("Content-Length", "4")));
  EXPECT_EQ(journal[0].body, "text");
  EXPECT_EQ(journal[0].status, 404);
  EXPECT_FALSE(journal[0].tls);
}

TEST_F(SimulatorJournal, NumbersRequestsAndConnections) {
  Connection connection(simulator.port());  // the second, after that of the login
  connection.ask("GET", "/service/versions");
  connection.ask("GET", "/service/versions");
  client.get("/service/sites");

  const std::vector<RecordedRequest> journal = simulator.journal();
  ASSERT_EQ(journal.size(), 4U);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> numbers;
  for (const RecordedRequest& request : journal) {
    numbers.emplace_back(request.sequence, request.connection);
  }
  EXPECT_THAT(numbers, ElementsAre(Pair(1U, 1U), Pair(2U, 2U), Pair(3U, 2U), Pair(4U, 3U)));
}

TEST_F(SimulatorJournal, TakesTheTimeFromTheGivenClock) {
  const TimePoint noon(std::chrono::hours(12));
  SimulatorOptions options = smallSiteOptions();
  options.clock = [noon] { return noon; };
  const Simulator manager(options);

  RestClient(manager.port()).get("/service/versions");

  EXPECT_EQ(manager.journal().back().time, noon);
}

TEST_F(SimulatorJournal, IsNotKeptWhenNotWanted) {
  std::vector<std::string> told;
  SimulatorOptions options = smallSiteOptions();
  options.keepJournal = false;
  options.onRequest = [&told](const RecordedRequest& request) { told.push_back(request.target); };
  {
    const Simulator manager(options);
    RestClient(manager.port()).get("/service/versions");
    EXPECT_TRUE(manager.journal().empty());
  }
  EXPECT_THAT(told, ElementsAre("/service/versions"));
}

TEST_F(SimulatorCannedAnswer, StandsInForTheNthRequestOnce) {
  simulator.answerOnce("GET", "/service/sites", 2, {503, {{"X-Why", "test"}}, "busy"});

  EXPECT_EQ(client.get("/service/sites").status, 200);
  const Answer answer = client.get("/service/sites");
  EXPECT_EQ(answer.status, 503);
  EXPECT_EQ(answer.body, "busy");
  EXPECT_TRUE(answer.hasLine("X-Why: test"));
  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(simulator.journal()[2].status, 503);
}

TEST_F(SimulatorCannedAnswer, CountsOnlyItsMethodAndPath) {
  simulator.answerOnce("GET", under("/vms"), 1, {500, {}, ""});

  EXPECT_EQ(client.get(under("/hosts")).status, 200);
  EXPECT_EQ(client.ask("DELETE", under("/vms")).status, 405);
  EXPECT_EQ(client.get(under("/vms?limit=1&offset=0")).status, 500);
}

TEST_F(SimulatorCannedAnswer, ComparesAPathWithAQueryAsAWhole) {
  simulator.answerOnce("GET", under("/vms?limit=1&offset=0"), 1, {500, {}, ""});

  EXPECT_EQ(client.get(under("/vms?limit=2&offset=0")).status, 200);
  EXPECT_EQ(client.get(under("/vms?limit=1&offset=0")).status, 500);
}

TEST_F(SimulatorCannedAnswer, OfAnEmptyBodyHasNoBytes) {
  simulator.answerOnce("GET", "/service/sites", 1, {404, {}, ""});

  const Answer answer = client.get("/service/sites");

  EXPECT_TRUE(answer.hasLine("Content-Length: 0"));
  EXPECT_EQ(answer.body, "");
}

TEST_F(SimulatorCannedAnswer, MayNameItsOwnContentType) {
  simulator.answerOnce("GET", "/service/sites", 1, {200, {{"content-type", "text/html"}}, "<p>"});

  const Answer answer = client.get("/service/sites");

  EXPECT_TRUE(answer.hasLine("content-type: text/html"));
  EXPECT_EQ(answer.head.find("application/json"), std::string::npos);
}

TEST_F(SimulatorCannedAnswer, WaitsItsTurnBehindAnOlderOne) {
  simulator.answerOnce("GET", "/service/sites", 1, {501, {}, ""});
  simulator.answerOnce("GET", "/service/sites", 1, {502, {}, ""});

  EXPECT_EQ(client.get("/service/sites").status, 501);
  EXPECT_EQ(client.get("/service/sites").status, 502);
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(SimulatorInventory, IsServedAsChanged) {
  simulator.changeInventory([](Inventory& inventory) {
    inventory.hosts.pop_back();
    inventory.hosts[0].name = "renamed \xC3\xA9\n";
  });

  const Json::Value hosts = client.get(under("/hosts")).json()["hosts"];

  EXPECT_THAT(eachOf(hosts, "name"), ElementsAre("renamed \xC3\xA9\n", "host h2"));
  EXPECT_EQ(client.get(under("/hosts?scope=default")).json()["total"].asInt(), 0);
}

TEST_F(SimulatorAddress, IsToldAsAUrl) {
  EXPECT_EQ(simulator.address(), "127.0.0.1");
  EXPECT_NE(simulator.port(), 0);
  EXPECT_EQ(simulator.url(), "http://127.0.0.1:" + std::to_string(simulator.port()));
  EXPECT_EQ(simulator.certificatePem(), "");
}

TEST_F(SimulatorAddress, InUseIsRefused) {
  SimulatorOptions options = smallSiteOptions();
  options.port = simulator.port();
  std::string said;

  try {
    const Simulator second(options);
  } catch (const std::runtime_error& error) {
    said = error.what();
  }

  EXPECT_EQ(said, "cannot listen on 127.0.0.1 port " + std::to_string(simulator.port()) +
                      ": Address already in use");
}

TEST_F(SimulatorAddress, ThatIsNoneIsRefused) {
  for (const bool tls : {false, true}) {
    SimulatorOptions options = smallSiteOptions();
    options.bindAddress = "somewhere";
    options.tls = tls;
    EXPECT_THROW(Simulator{options}, std::runtime_error);
  }
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
