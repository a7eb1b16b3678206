#include "tests/vrmsim/simulator_fixture.h"

#include <atomic>

namespace kestrelvisor::vrmsim::test {
namespace {

class SimulatorVersions : public SimulatorTest {};
class SimulatorLogin : public SimulatorTest {};
class SimulatorSession : public SimulatorTest {};

TEST_F(SimulatorVersions, AreToldWithoutCredentialsInTheGivenOrder) {
  SimulatorOptions options = smallSiteOptions();
  options.versions = {"v1.2", "v6.5", "v2.0"};
  const Simulator manager(options);

  const Answer answer =
      Connection(manager.port())
          .ask("GET", "/service/versions", {{"Accept", "application/json;charset=UTF-8"}});

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body,
            R"({"versions":[{"version":"v1.2"},{"version":"v6.5"},{"version":"v2.0"}]})");
}

TEST_F(SimulatorVersions, MustBeNamedByARequest) {
  for (const char* accept :
       {"application/json;charset=UTF-8", "application/json;version=9.9; charset=UTF-8",
        "application/json;version=; charset=UTF-8", "application/json;version=v1.2"}) {
    const Answer answer =
        Connection(simulator.port())
            .ask("GET", "/service/sites", {{"Accept", accept}, {"X-Auth-Token", client.token()}});
    EXPECT_EQ(answer.status, 406) << accept;
    EXPECT_EQ(answer.errorCode(), "10009003") << accept;
    EXPECT_THAT(answer.json()["errorDes"].asString(), ::testing::HasSubstr(accept));
  }
}

TEST_F(SimulatorVersions, MayBeAnyOfThoseOffered) {
  const Answer answer = Connection(simulator.port())
                            .ask("GET", "/service/sites",
                                 {{"Accept", "application/json;version=6.5; charset=UTF-8"},
                                  {"X-Auth-Token", client.token()}});

  EXPECT_EQ(answer.status, 200);
}

TEST_F(SimulatorVersions, ThatAreEmptyAreToldAndNeverMatch) {
  SimulatorOptions options = smallSiteOptions();
  options.versions = {""};
  const Simulator manager(options);

  EXPECT_EQ(RestClient(manager.port()).get("/service/versions").body,
            R"({"versions":[{"version":""}]})");
  EXPECT_EQ(RestClient(manager.port()).logIn().status, 406);
}

TEST_F(SimulatorLogin, GivesATokenInItsHeaderAndRolesAndValidityInItsBody) {
  SimulatorOptions options = smallSiteOptions();
  options.users = {{"eve", "secret", {"operator", "sysadmin"}}};
  options.tokenValidity = std::chrono::milliseconds(1999);
  const Simulator manager(options);
  RestClient eve(manager.port());

  const Answer answer = eve.logIn("eve", "secret");

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.head.substr(0, 17), "HTTP/1.1 200 OK\r\n");
  EXPECT_EQ(eve.token().size(), 48U);
  EXPECT_TRUE(answer.hasLine("X-Auth-Token: " + eve.token()));
  EXPECT_EQ(answer.body,
            R"({"userName":"eve","roleList":["operator","sysadmin"],"validity":1999})");
}

struct BadLogin {
  const char* name;
  Headers headers;
};
class SimulatorBadLogin : public ::testing::TestWithParam<BadLogin> {};

TEST_P(SimulatorBadLogin, IsRefused) {
  const Simulator simulator(smallSiteOptions());

  const Answer answer =
      Connection(simulator.port()).ask("POST", "/service/session", GetParam().headers);

  EXPECT_EQ(answer.status, 401);
  EXPECT_EQ(answer.errorCode(), "10100103");
  EXPECT_FALSE(answer.json()["errorDes"].asString().empty());
  EXPECT_EQ(answer.head.find("X-Auth-Token"), std::string::npos);
  EXPECT_EQ(simulator.openSessions(), 0U);
}

Headers withUserType(const char* type) {
  Headers headers = loginHeaders("backup", "Backup@123");
  headers.back().second = type;
  return headers;
}

Headers withPlainPassword() {
  Headers headers = loginHeaders("backup", "Backup@123");
  headers[2].second = "Backup@123";
  return headers;
}

INSTANTIATE_TEST_SUITE_P(
    SimulatorLogin, SimulatorBadLogin,
    ::testing::Values(BadLogin{"WrongPassword", loginHeaders("backup", "wrong")},
                      BadLogin{"UnknownUser", loginHeaders("nobody", "Backup@123")},
                      BadLogin{"WrongUserType", withUserType("0")},
                      BadLogin{"PlainPassword", withPlainPassword()},
                      BadLogin{"NoCredentials", Headers{{"Accept", kAccept}}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(SimulatorLogin, WithABodyIsRefused) {
  const Answer answer =
      Connection(simulator.port())
          .ask("POST", "/service/session", loginHeaders("backup", "Backup@123"), "{}");

  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.errorCode(), "10009004");
}

TEST_F(SimulatorLogin, OpensASessionOfItsOwnEachTime) {
  RestClient other(simulator.port());
  other.logIn();

  EXPECT_NE(other.token(), client.token());
  EXPECT_EQ(simulator.openSessions(), 2U);
  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(other.get("/service/sites").status, 200);
}

void expectSessionRefused(const Answer& answer) {
  EXPECT_EQ(answer.status, 401);
  EXPECT_EQ(answer.errorCode(), "10000002");
  EXPECT_FALSE(answer.json()["errorDes"].asString().empty());
}

TEST_F(SimulatorSession, IsNeededForEveryOtherRoute) {
  RestClient stranger(simulator.port());

  for (const char* path :
       {"/service/sites", "/service/sites/S1/clusters", "/service/sites/S1/hosts",
        "/service/sites/S1/datastores", "/service/sites/S1/vms", "/service/sites/S1/vms/osversions",
        "/service/sites/S1/volumes/compatibility/discovery"}) {
    SCOPED_TRACE(path);
    expectSessionRefused(stranger.get(path));
  }
  expectSessionRefused(stranger.ask("DELETE", under("/vms/v1/action/CBTbackup")));
  EXPECT_EQ(simulator.cbtEnabled(under("/vms/v1")), true);
}

TEST_F(SimulatorSession, IsRefusedWithoutATokenHeader) {
  expectSessionRefused(
      Connection(simulator.port()).ask("GET", "/service/sites", {{"Accept", kAccept}}));
}

TEST_F(SimulatorSession, EndsWithItsLogout) {
  const Answer answer = client.logOut();

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(simulator.openSessions(), 0U);
  expectSessionRefused(client.get("/service/sites"));
}

TEST_F(SimulatorSession, CannotBeEndedTwice) {
  client.logOut();

  expectSessionRefused(client.logOut());
}

TEST_F(SimulatorSession, SurvivesTheLogoutOfAnother) {
  RestClient other(simulator.port());
  other.logIn();

  other.logOut();

  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(SimulatorSession, ExpiresWhenItsValidityIsOver) {
  std::atomic<int> seconds{1000};
  SimulatorOptions options = smallSiteOptions();
  options.tokenValidity = std::chrono::seconds(60);
  options.clock = [&seconds] { return TimePoint(std::chrono::seconds(seconds)); };
  const Simulator manager(options);
  RestClient user(manager.port());
  user.logIn();

  seconds = 1059;
  EXPECT_EQ(user.get("/service/sites").status, 200);
  EXPECT_EQ(manager.openSessions(), 1U);
  seconds = 1060;
  expectSessionRefused(user.get("/service/sites"));
  EXPECT_EQ(manager.openSessions(), 0U);
}

TEST_F(SimulatorSession, CanBeExpiredByTheTest) {
  simulator.expireSessions();

  EXPECT_EQ(simulator.openSessions(), 0U);
  expectSessionRefused(client.get("/service/sites"));
  EXPECT_EQ(client.logIn().status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(SimulatorSession, CanBeForgottenByTheTest) {
  simulator.forgetSessions();

  EXPECT_EQ(simulator.openSessions(), 0U);
  expectSessionRefused(client.get("/service/sites"));
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
