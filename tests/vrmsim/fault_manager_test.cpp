#include "tests/vrmsim/process.h"
#include "tests/vrmsim/simulator_fixture.h"

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ManagerFault : public SimulatorTest {
 protected:
  std::vector<std::string> machines() const {
    return eachOf(client.get(under("/vms?limit=100&offset=0")).json()["vms"], "name");
  }

  static std::string urn(const char* vm) { return std::string("urn:sites:S1:vms:") + vm; }
};

TEST_F(ManagerFault, ExpiresTheSessionThatIsOpened) {
  simulator.addFault("method=POST path=/service/session nth=1 expire-after=2");
  client.logIn();

  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/versions").status, 200);  // needs no session and does not count
  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/sites").errorCode(), "10000002");
  EXPECT_EQ(client.get("/service/sites").status, 401);
  EXPECT_EQ(client.logIn().status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(ManagerFault, ExpiresTheSessionThatIsUsed) {
  RestClient other(simulator.port());
  other.logIn();
  simulator.addFault("session=2 nth=2 expire-after=0");

  EXPECT_EQ(other.get("/service/sites").status, 200);
  EXPECT_EQ(other.get("/service/sites").status, 200);
  EXPECT_EQ(other.get("/service/sites").status, 401);
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(ManagerFault, KillsAllSessions) {
  simulator.addFault("nth=2 kill-sessions");

  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/sites").errorCode(), "10000002");
  EXPECT_EQ(simulator.openSessions(), 0U);
}

TEST_F(ManagerFault, KnowsASessionThatWasKilled) {
  simulator.addFault("session=1 nth=2 kill-sessions");
  simulator.addFault("session=1 nth=3 status=418");

  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 401);
  EXPECT_EQ(client.get("/service/sites").status, 418);
}

TEST_F(ManagerFault, TakesARoleAway) {
  simulator.addFault("nth=1 take-role=administrator");

  EXPECT_EQ(client.logIn().json()["roleList"].size(), 0U);
}

TEST_F(ManagerFault, TellsAnotherAddressOfTheOwnSite) {
  simulator.addFault("path=/service/sites nth=1 site-address=192.0.2.9");

  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(eachOf(client.get("/service/sites").json()["sites"], "ip"),
                ElementsAre("192.0.2.9", "10.9.9.9"));
  }
}

TEST_F(ManagerFault, ChangesTheInventoryBetweenTwoPages) {
  simulator.addFault("path=*/vms nth=2 add-vms=2 remove-vm=" + urn("v1") +
                     " remove-vm=" + urn("l1"));
  const auto page = [&](const char* query) {
    return client.get(under(std::string("/vms?limit=3&") + query)).json();
  };

  EXPECT_THAT(eachOf(page("offset=0")["vms"], "name"),
              ElementsAre("machine v1", "machine v2", "machine v3"));
  const Json::Value second = page("offset=3");
  EXPECT_THAT(eachOf(second["vms"], "name"), ElementsAre("machine t1", "added-1", "added-2"));
  EXPECT_EQ(second["total"].asInt(), 6);
}

TEST_F(ManagerFault, AddsMachinesThatHostsAndDisksKnow) {
  simulator.addFault("count=2 add-vms=1");
  client.get("/service/versions");
  client.get("/service/versions");

  const Inventory inventory = simulator.inventory();
  ASSERT_EQ(inventory.vms.size(), 8U);
  EXPECT_EQ(inventory.vms[7].id, "added-2");
  EXPECT_EQ(inventory.vms[7].host, "h1");
  EXPECT_EQ(inventory.vms[7].disks.at(0).datastore, "d1");
  EXPECT_NE(inventory.vms[7].uuid, inventory.vms[6].uuid);
}

TEST_F(ManagerFault, EditsTheInventoryByAPatch) {
  const TemporaryFolder folder;
  const std::string patch = folder.write(
      "patch.json", R"({"vms": [{"id": "n1", "name": "new", "host": "h1"}], "osVersions": null})");
  simulator.addFault("path=*/vms nth=1 edit-inventory=" + patch);

  EXPECT_THAT(machines(), ElementsAre("new"));
  EXPECT_EQ(client.get(under("/hosts")).json()["total"].asInt(), 3);
  EXPECT_TRUE(simulator.inventory().osVersions == OsCatalogue());
}

TEST_F(ManagerFault, RefusesAPatchThatLeavesNoInventory) {
  const TemporaryFolder folder;
  const std::string patch =
      folder.write("patch.json", R"({"vms": [{"id": "n1", "host": "nowhere"}]})");
  std::string said;

  try {
    simulator.addFault("edit-inventory=" + patch);
  } catch (const FaultRuleError& error) {
    said = error.what();
  }

  EXPECT_THAT(said, HasSubstr("': the inventory cannot be edited so: vms[0].host: there is no host "
                              "\"nowhere\""));
}

TEST_F(ManagerFault, ComplainsOfWhatItCannotDo) {
  const TemporaryFolder folder;
  const std::string patch = folder.write("patch.json", R"({"hosts": []})");
  simulator.changeInventory([](Inventory& inventory) {
    inventory.vms.clear();
    inventory.datastores.clear();
  });
  simulator.addFault("name=late nth=1 edit-inventory=" + patch + " remove-vm=urn:x");
  simulator.changeInventory([](Inventory& inventory) {
    inventory.vms.push_back({});
    inventory.vms[0].id = "v9";
    inventory.vms[0].host = "h1";
  });

  EXPECT_THAT(machines(), ElementsAre(""));
  EXPECT_THAT(
      simulator.journal().back().complaint,
      StartsWith("fault late: the inventory cannot be edited: vms[0].host: there is no host "
                 "\"h1\"; no VM urn:x"));
}

TEST_F(ManagerFault, LetsTheManagerDoWhatItsAnswerNeverTells) {
  simulator.addFault("nth=1 reset=headers");
  simulator.addFault("method=DELETE status=204");

  EXPECT_THROW(client.logIn(), std::runtime_error);
  EXPECT_EQ(simulator.openSessions(), 2U);
}

TEST_F(ManagerFault, StandsInForTheManagerWhenItAnswersItself) {
  const std::string vm = under("/vms/v1");
  simulator.addFault("path=*CBTbackup status=500");

  EXPECT_EQ(client.ask("DELETE", vm + "/action/CBTbackup").status, 500);
  EXPECT_EQ(simulator.cbtEnabled(vm), true);
}

TEST_F(ManagerFault, IsNamedInTheJournal) {
  simulator.addFault("name=busy nth=2 status=503");
  simulator.clearJournal();
  for (int i = 0; i < 3; ++i) client.get("/service/sites");

  std::vector<std::pair<std::string, int>> told;
  for (const RecordedRequest& request : simulator.journal()) {
    told.emplace_back(request.fault, request.status);
  }
  EXPECT_THAT(told, ElementsAre(std::pair("", 200), std::pair("busy", 503), std::pair("", 200)));
}

TEST_F(ManagerFault, IsToldWhenItNeverFired) {
  simulator.addFault("name=met status=503");
  simulator.addFault("connection=99 empty");

  client.get("/service/sites");

  EXPECT_THAT(simulator.unfiredFaults(), ElementsAre("connection=99 empty"));
  ASSERT_EQ(simulator.faults().size(), 2U);
  EXPECT_EQ(simulator.faults()[0].hits, 1U);
  simulator.clearFaults();
  EXPECT_THAT(simulator.unfiredFaults(), IsEmpty());
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(ManagerFault, IsInForceFromTheFirstConnectionOn) {
  SimulatorOptions options = smallSiteOptions();
  options.faults = {parseFaultRule("connection=1 status=503")};
  const Simulator manager(options);

  EXPECT_EQ(RestClient(manager.port()).get("/service/versions").status, 503);
  EXPECT_EQ(RestClient(manager.port()).get("/service/versions").status, 200);
}

TEST_F(ManagerFault, OfAConnectionIsToldWithItsStage) {
  std::vector<std::string> told;
  SimulatorOptions options = smallSiteOptions();
  options.tls = true;
  options.onConnectionFault = [&](const ConnectionFault& fault) {
    told.push_back(std::to_string(fault.connection) + " " + fault.stage + " " + fault.fault);
  };
  {
    Simulator manager(options);
    manager.addFault("cut=accept nth=1");
    manager.addFault("name=alert tls=alert nth=1 kill-sessions");
    manager.addFault("reset=handshake");
    Connection(manager.port()).readToTheEnd();
    EXPECT_THROW(Connection(manager.port(), manager.certificatePem()), std::runtime_error);
    Connection(manager.port(), manager.certificatePem()).readToTheEnd();
    EXPECT_TRUE(manager.journal().empty());
  }
  EXPECT_THAT(told, ElementsAre("1 accept cut=accept nth=1", "2 handshake alert",
                                "3 handshake reset=handshake"));
}

TEST_F(ManagerFault, EndsAConnectionWhoseFaultCannotBeTold) {
  SimulatorOptions options = smallSiteOptions();
  options.onConnectionFault = [](const ConnectionFault&) { throw std::runtime_error("disk full"); };
  Simulator manager(options);
  manager.addFault("silence=accept");

  EXPECT_EQ(Connection(manager.port()).readToTheEnd().end, StreamEnd::kClosed);
}

TEST_F(ManagerFault, GivesTokensThatNobodyGuessesWithoutASeed) {
  const auto tokenOf = [](std::optional<std::uint64_t> seed) {
    SimulatorOptions options = smallSiteOptions();
    options.faultSeed = seed;
    const Simulator manager(options);
    RestClient fresh(manager.port());
    fresh.logIn();
    return fresh.token();
  };

  EXPECT_EQ(tokenOf(5), tokenOf(5));
  EXPECT_NE(tokenOf(5), tokenOf(6));
  EXPECT_NE(tokenOf(std::nullopt), tokenOf(std::nullopt));
  EXPECT_EQ(tokenOf(5).size(), tokenOf(std::nullopt).size());
}

class ControlPort : public ::testing::Test {
 protected:
  static SimulatorOptions options() {
    SimulatorOptions made = smallSiteOptions();
    made.controlPort = 0;
    return made;
  }

  std::uint16_t port() const {
    const std::string url = simulator.controlUrl();
    return static_cast<std::uint16_t>(std::stoul(url.substr(url.rfind(':') + 1)));
  }

  Answer control(const std::string& method, const std::string& path,
                 const std::string& body = "") const {
    return Connection(port()).ask(method, path, {}, body);
  }

  Simulator simulator{options()};
  RestClient client{simulator.port()};
};

TEST_F(ControlPort, IsToldAsAUrl) {
  EXPECT_THAT(simulator.controlUrl(), StartsWith("http://127.0.0.1:"));
  EXPECT_NE(port(), simulator.port());
  EXPECT_EQ(Simulator(smallSiteOptions()).controlUrl(), "");
}

TEST_F(ControlPort, TakesTellsAndDropsFaults) {
  EXPECT_EQ(
      control("POST", "/faults", R"({"name": "busy", "path": "/service/versions", "status": 503})")
          .body,
      "{\"added\":1}\n");
  EXPECT_EQ(control("POST", "/faults", R"(["cut=end", {"empty": true}])").body, "{\"added\":2}\n");
  EXPECT_EQ(client.get("/service/versions").status, 503);
  EXPECT_EQ(control("GET", "/faults").body,
            R"({"faults":[{"name":"busy","rule":"name=busy path=/service/versions status=503",)"
            R"("hits":1},{"name":"cut=end","rule":"cut=end","hits":0},)"
            R"({"name":"empty","rule":"empty","hits":0}]})"
            "\n");
  EXPECT_EQ(control("DELETE", "/faults").body, "{\"removed\":3}\n");
  EXPECT_EQ(client.get("/service/versions").status, 200);
}

TEST_F(ControlPort, EndsSessions) {
  client.logIn();
  EXPECT_EQ(control("POST", "/sessions/kill").body, "{\"killed\":1}\n");
  EXPECT_EQ(client.get("/service/sites").status, 401);
  client.logIn();
  EXPECT_EQ(control("POST", "/sessions/expire").body, "{\"expired\":1}\n");
  EXPECT_EQ(client.get("/service/sites").status, 401);
}

TEST_F(ControlPort, CountsTheRequestsToTheManager) {
  client.get("/service/versions");
  client.get("/nowhere");

  EXPECT_EQ(control("GET", "/requests").body, "{\"requests\":2}\n");
  EXPECT_EQ(simulator.journal().size(), 2U);
}

TEST_F(ControlPort, CountsTheHandshakesOfTheManager) {
  EXPECT_EQ(control("GET", "/handshakes").body, "{\"handshakes\":0,\"resumed\":0}\n");
}

TEST(ControlPortOverTls, CountsTheHandshakesOfTheManager) {
  SimulatorOptions options = smallSiteOptions();
  options.tls = true;
  options.controlPort = 0;
  const Simulator manager(std::move(options));
  const std::string url = manager.controlUrl();
  const auto port = static_cast<std::uint16_t>(std::stoul(url.substr(url.rfind(':') + 1)));
  RestClient client(manager.port(), manager.certificatePem());
  for (int i = 0; i < 2; ++i) client.get("/service/versions");

  EXPECT_EQ(Connection(port).ask("GET", "/handshakes").body, "{\"handshakes\":2,\"resumed\":0}\n");
}

TEST_F(ControlPort, CountsConnectionsAndRequestsByMethod) {
  EXPECT_EQ(control("GET", "/counters").body, "{\"connections\":0,\"requests\":{}}\n");

  client.logIn();
  client.get("/service/sites");
  Connection kept(simulator.port());
  kept.ask("GET", "/service/versions");
  kept.ask("GET", "/service/versions");

  EXPECT_EQ(control("GET", "/counters").body,
            "{\"connections\":3,\"requests\":{\"GET\":3,\"POST\":1}}\n");
  EXPECT_EQ(control("GET", "/requests").body, "{\"requests\":4}\n");
}

TEST_F(ControlPort, CountsUnusualMethodsByTheirOwnNames) {
  Connection(simulator.port()).ask("!#$%&'*+-.^_`|~", "/service/versions");
  Connection(simulator.port()).ask("G\"E\\T", "/service/versions");  // no method to HTTP

  EXPECT_EQ(control("GET", "/counters").json()["requests"].getMemberNames(),
            (std::vector<std::string>{"", "!#$%&'*+-.^_`|~"}));
}

TEST_F(ControlPort, SaysWhatIsWrongAndTakesNothing) {
  const auto refused = [this](const std::string& body) {
    const Answer answer = control("POST", "/faults", body);
    EXPECT_EQ(answer.status, 400);
    return answer.json()["error"].asString();
  };

  EXPECT_THAT(refused(R"([{"empty": true}, {"nth": 0, "empty": true}])"),
              HasSubstr("faults[1]: fault rule {\"empty\":true,\"nth\":0}: nth=0: expected"));
  EXPECT_THAT(refused(R"(["empty", "tls=alert"])"), HasSubstr("there is no TLS handshake"));
  EXPECT_THAT(refused("nonsense"), HasSubstr("not readable as JSON"));
  EXPECT_THAT(refused(R"({"seed": 1, "faults": []})"),
              HasSubstr("\"seed\": a running simulator keeps its seed"));
  EXPECT_TRUE(simulator.faults().empty());
}

TEST_F(ControlPort, SaysWhatItServes) {
  const Answer answer = control("GET", "/nonsense");

  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(
      answer.json()["error"].asString(),
      "nobody serves GET /nonsense; what is served: GET /faults, POST /faults, DELETE /faults, "
      "POST /sessions/kill, POST /sessions/expire, GET /requests, GET /handshakes, "
      "GET /counters");
  EXPECT_EQ(control("PUT", "/faults").status, 404);
}

TEST_F(ControlPort, SaysWhatItCannotRead) {
  Connection connection(port());
  connection.send("this is no HTTP\r\n\r\n");

  EXPECT_EQ(connection.receive().status, 400);
}

TEST_F(ControlPort, IsNotHitByFaults) {
  simulator.addFault("status=503");

  EXPECT_EQ(control("GET", "/requests").status, 200);
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
