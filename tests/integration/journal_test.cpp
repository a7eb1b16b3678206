#include "rest/clock.h"
#include "tests/integration/integration_fixture.h"

#include <algorithm>
#include <set>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::SizeIs;

using Lines = std::vector<std::string>;

const Lines kVerification{"GET /service/versions", "POST /service/session", "GET /service/sites",
                          "POST /service/session", "GET /service/sites"};

std::string under(const std::string& path) { return std::string("GET ") + kSite + path; }

std::string machinesOf(const std::string& scope) {
  return under("/vms?limit=1&offset=0&scope=urn:sites:S1:" + scope);
}
std::string pageOf(const std::string& scope) {
  return under("/vms?limit=100&offset=0&scope=urn:sites:S1:" + scope + "&detail=2");
}
std::string discoveryOf(int machine, const std::string& datastore) {
  return under("/volumes/compatibility/discovery?uuid=" + std::string(kVolumes) +
               std::to_string(machine) + "&datestore=" + datastore + "&page=1&offset=0&limit=15");
}

Lines scanLines() {
  return {"GET /service/versions",
          "POST /service/session",
          "GET /service/sites",
          "POST /service/session",
          under("/vms/osversions"),
          under("/vms/osversions?arch=arm"),
          under("/clusters"),
          under("/datastores?scope=urn:sites:S1:clusters:c1&status=NORMAL"),
          under("/datastores?scope=urn:sites:S1:clusters:c2&status=NORMAL"),
          under("/hosts?scope=default"),
          under("/datastores?status=NORMAL"),  // of h3
          under("/hosts?scope=urn:sites:S1:clusters:c1"),
          under("/datastores?status=NORMAL"),  // of h1
          under("/datastores?status=NORMAL"),  // of h2
          machinesOf("clusters:c1"),
          pageOf("clusters:c1"),
          discoveryOf(4, "d1"),
          under("/hosts?scope=urn:sites:S1:clusters:c2"),
          machinesOf("clusters:c2"),
          machinesOf("hosts:h3"),
          pageOf("hosts:h3"),
          discoveryOf(3, "d2"),
          machinesOf("hosts:h1"),
          pageOf("hosts:h1"),
          discoveryOf(1, "d1"),
          discoveryOf(2, "d1"),
          machinesOf("hosts:h2"),
          pageOf("hosts:h2")};
}

Lines headersOf(const RecordedRequest& request) {
  Lines lines;
  for (const auto& [name, value] : request.headers) lines.push_back(name + ": " + value);
  return lines;
}

// What stands on the wire for a request, by its kind.
Lines expectedHeaders(const RecordedRequest& request, const std::string& host,
                      const std::string& token) {
  if (request.target == "/service/versions") {
    return {"Host: " + host, "Accept: application/json;charset=UTF-8"};
  }
  const std::string accept = "Accept: application/json;version=6.5; charset=UTF-8";
  if (request.method == "POST") {
    return {"Host: " + host,
            accept,
            "Content-Type: application/json; version=6.5; charset=UTF-8",
            "Accept-Language: en_US",
            "X-Auth-User: backup",
            "X-Auth-Key: " + std::string(kPasswordDigest),
            "X-Auth-UserType: 2",
            "Content-Length: 0"};
  }
  return {"Host: " + host, accept, "X-Auth-Token: " + token,
          "Content-Type: application/json; charset=UTF-8"};
}

// The engine and the process's own object, over HTTP and over HTTPS.
class OperationJournal : public ::testing::TestWithParam<bool> {
 protected:
  OperationJournal() : path(pathTo(simulator)) {}

  // Every request carries the headers of its kind to the letter, the second client's from its own
  // login on with its own token, and came over a connection of its own.
  void expectCleanWire() const {
    const std::string host = simulator.address() + ":" + std::to_string(simulator.port());
    const std::string own = tokenOf(engine.restApi);
    const std::string shared = tokenOf(KestrelVisorPublic::getInstance().restApi);
    EXPECT_NE(own, shared);
    std::set<std::uint64_t> connections;
    std::size_t logins = 0;
    for (const RecordedRequest& request : simulator.journal()) {
      if (request.method == "POST") ++logins;
      EXPECT_THAT(headersOf(request),
                  ElementsAreArray(expectedHeaders(request, host, logins < 2 ? own : shared)))
          << request.method << " " << request.target;
      EXPECT_EQ(request.body, "");
      EXPECT_EQ(request.complaint, "");
      EXPECT_EQ(request.tls, GetParam());
      EXPECT_TRUE(connections.insert(request.connection).second) << "a connection served twice";
    }
  }

  static std::string tokenOf(const KestrelVisor_rest_api& api) {
    if (api.tokenMap.empty()) return "(none)";
    return api.tokenMap.begin()->second.certToken.authToken;
  }

  LogCapture log;
  FreshSessions fresh;
  Simulator simulator{simulatedSite(GetParam())};
  KestrelVisorEngine engine;
  EnvironmentPath path;
  std::string description;
};

TEST_P(OperationJournal, OfAVerification) {
  std::string guid;

  const EnvProxyResult result = engine.VerifyCredentials(path, description, guid);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(description, "OK");
  EXPECT_THAT(linesOf(simulator.journal()), ElementsAreArray(kVerification));
  expectCleanWire();
}

TEST_P(OperationJournal, OfAScan) {
  const SilentOutput silent;
  ScanEnvironmentReply reply;

  const EnvProxyResult result = engine.scanEnvironment(reply, path, description);

  ASSERT_EQ(result.status, 0);
  EXPECT_THAT(result.details.front().detailParams, ElementsAre("4", "6", ""));
  EXPECT_THAT(linesOf(simulator.journal()), ElementsAreArray(scanLines()));
  expectCleanWire();
}

TEST_P(OperationJournal, OfACbtRequest) {
  const std::string machine = std::string(kSite) + "/vms/v1";
  ASSERT_EQ(simulator.cbtEnabled(machine), true);

  const EnvProxyResult result = engine.DisableCBT(path, machine, description);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(description, "");
  EXPECT_EQ(simulator.cbtEnabled(machine), false);
  EXPECT_THAT(linesOf(simulator.journal()),
              ElementsAre("GET /service/versions", "POST /service/session", "GET /service/sites",
                          "POST /service/session", "DELETE " + machine + "/action/CBTbackup"));
  expectCleanWire();
}

TEST_P(OperationJournal, OfARefusedCbtRequest) {
  const std::string machine = std::string(kSite) + "/vms/l1";

  const EnvProxyResult result = engine.DisableCBT(path, machine, description);

  EXPECT_EQ(result.status, 101);
  EXPECT_EQ(description,
            "this type of Virtual Machine (link-cloned) does not support disabling CBT");
}

INSTANTIATE_TEST_SUITE_P(Over, OperationJournal, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Https" : "Http"; });

// Both sides' clocks, each set by the test alone.
std::int64_t engineSeconds = 0;
std::time_t engineTime() { return engineSeconds; }

class SessionAge : public ::testing::Test {
 protected:
  static constexpr std::int64_t kStart = 1700000000;
  static constexpr std::int64_t kValidity = 1800;

  SessionAge() : before(setClock(engineTime)), simulator(options()), path(pathTo(simulator)) {
    engineSeconds = kStart;
    engine.VerifyCredentials(path, description, guid);
    simulator.clearJournal();
  }
  ~SessionAge() override { setClock(before); }

  SimulatorOptions options() {
    SimulatorOptions site = simulatedSite(false);
    site.tokenValidity = std::chrono::seconds(kValidity);
    site.clock = [this] { return vrmsim::TimePoint(std::chrono::seconds(managerSeconds.load())); };
    return site;
  }

  LogCapture log;
  FreshSessions fresh;
  Clock before;
  std::atomic<std::int64_t> managerSeconds{kStart};
  Simulator simulator;
  KestrelVisorEngine engine;
  EnvironmentPath path;
  std::string description;
  std::string guid;
};

TEST_F(SessionAge, ExpiredOneCostsEachClientOneLoginAndOneRepeat) {
  managerSeconds += kValidity + 1;  // the engine's own clock stands still

  EXPECT_EQ(engine.VerifyCredentials(path, description, guid).status, 0);

  EXPECT_THAT(linesOf(simulator.journal()),
              ElementsAre("GET /service/versions", "GET /service/sites", "POST /service/session",
                          "GET /service/sites", "GET /service/sites", "POST /service/session",
                          "GET /service/sites"));
}

TEST_F(SessionAge, UpToHalfTheValiditySessionsAreUsedAgain) {
  engineSeconds += kValidity / 2;

  EXPECT_EQ(engine.VerifyCredentials(path, description, guid).status, 0);

  EXPECT_THAT(linesOf(simulator.journal()),
              ElementsAre("GET /service/versions", "GET /service/sites", "GET /service/sites"));
}

TEST_F(SessionAge, BeyondHalfTheValidityAScanRenewsEachClientsSessionOnce) {
  engineSeconds += kValidity / 2 + 1;
  const SilentOutput silent;
  ScanEnvironmentReply reply;

  EXPECT_EQ(engine.scanEnvironment(reply, path, description).status, 0);

  Lines expected = scanLines();
  const std::string login = "POST /service/session";
  const std::string logout = "DELETE /service/session";
  expected.insert(std::find(expected.begin(), expected.end(), login), logout);
  expected.insert(std::find(expected.rbegin(), expected.rend(), login).base() - 1, logout);
  EXPECT_THAT(linesOf(simulator.journal()), ElementsAreArray(expected));
  EXPECT_EQ(simulator.openSessions(), 2U);
}

}  // namespace
}  // namespace kestrelvisor::test
