#include "tests/vrmsim/simulator_fixture.h"

#include <atomic>
#include <thread>

namespace kestrelvisor::vrmsim::test {
namespace {

using ::testing::HasSubstr;

class SimulatorRoutes : public SimulatorTest {};
class SimulatorConnection : public SimulatorTest {};
class SimulatorTls : public ::testing::Test {
 protected:
  static SimulatorOptions options() {
    SimulatorOptions made = smallSiteOptions();
    made.tls = true;
    return made;
  }
};

TEST_F(SimulatorRoutes, ThatNobodyServesAnswerLoudly) {
  const Answer answer = client.get("/service/nonsense?x=1");

  EXPECT_EQ(answer.status, 404);
  EXPECT_EQ(answer.body, R"({"errorCode":"10009001",)"
                         R"("errorDes":"Nothing is served at GET /service/nonsense?x=1"})");
  EXPECT_EQ(simulator.journal().back().complaint, "nobody serves GET /service/nonsense?x=1");
}

TEST_F(SimulatorRoutes, AreLoudEvenWithoutASession) {
  RestClient stranger(simulator.port());

  EXPECT_EQ(stranger.get("/").errorCode(), "10009001");
}

TEST_F(SimulatorRoutes, WithAnotherMethodAnswerLoudly) {
  const Answer answer = client.ask("PUT", "/service/session");

  EXPECT_EQ(answer.status, 405);
  EXPECT_EQ(answer.errorCode(), "10009002");
  EXPECT_THAT(answer.json()["errorDes"].asString(), HasSubstr("PUT /service/session"));
  EXPECT_TRUE(answer.hasLine("Allow: POST, DELETE"));
  EXPECT_EQ(simulator.journal().back().complaint,
            "nobody serves PUT /service/session, only POST, DELETE");
}

TEST_F(SimulatorRoutes, ThatAreServedRaiseNoComplaint) {
  client.get("/service/sites");

  EXPECT_EQ(simulator.journal().back().complaint, "");
}

TEST_F(SimulatorRoutes, TellAFailureOfTheSimulatorItself) {
  SimulatorOptions options = smallSiteOptions();
  options.onRequest = [](const RecordedRequest&) { throw std::runtime_error("disk full"); };
  const Simulator manager(options);

  const Answer answer = RestClient(manager.port()).get("/service/versions");

  EXPECT_EQ(answer.status, 500);
  EXPECT_EQ(answer.body, R"({"errorCode":"11000000","errorDes":"disk full"})");
}

TEST_F(SimulatorRoutes, KeepToTheLettersOfThePath) {
  EXPECT_EQ(client.get("/service/Sites").status, 404);
  EXPECT_EQ(client.get("/service/sites/").status, 404);
  EXPECT_EQ(client.get("//service/sites").status, 404);
}

TEST_F(SimulatorConnection, ServesManyRequests) {
  Connection connection(simulator.port());
  const Headers headers{{"Accept", kAccept}, {"X-Auth-Token", client.token()}};

  EXPECT_EQ(connection.ask("GET", "/service/versions").status, 200);
  EXPECT_EQ(connection.ask("GET", "/service/sites", headers).status, 200);
  EXPECT_EQ(connection.ask("GET", "/nowhere", headers).status, 404);
  EXPECT_EQ(connection.ask("GET", under("/clusters"), headers).status, 200);
}

TEST_F(SimulatorConnection, ServesRequestsThatCameTogether) {
  Connection connection(simulator.port());
  const std::string one = "GET /service/versions HTTP/1.1\r\nHost: m\r\n\r\n";

  connection.send(one + one);

  EXPECT_EQ(connection.receive().status, 200);
  EXPECT_EQ(connection.receive().status, 200);
}

TEST_F(SimulatorConnection, IsClosedWhenTheClientAsksForIt) {
  Connection connection(simulator.port());

  const Answer answer = connection.ask("GET", "/service/versions", {{"Connection", "close"}});

  EXPECT_TRUE(answer.hasLine("Connection: close"));
  EXPECT_TRUE(connection.closedByServer());
}

TEST_F(SimulatorConnection, TakesARequestInPieces) {
  Connection connection(simulator.port());

  connection.send("GET /service/ver");
  connection.send("sions HTTP/1.1\r\nHost: m\r\n");
  connection.send("\r\n");

  EXPECT_EQ(connection.receive().status, 200);
}

TEST_F(SimulatorConnection, IsToldWhatCannotBeRead) {
  Connection connection(simulator.port());

  connection.send("this is no HTTP\r\n\r\n");
  const Answer answer = connection.receive();

  EXPECT_EQ(answer.status, 400);
  EXPECT_EQ(answer.errorCode(), "10009005");
  EXPECT_TRUE(connection.closedByServer());
  EXPECT_THAT(simulator.journal().back().complaint, HasSubstr("unreadable request"));
}

TEST_F(SimulatorConnection, TakesTheRestOfWhatItRefused) {
  Connection connection(simulator.port());

  connection.send("this is no HTTP\r\n\r\n" + std::string(8 * 1024 * 1024, 'x'));

  EXPECT_EQ(connection.receive().status, 400);
}

TEST_F(SimulatorConnection, ThatIsCutDoesNoHarm) {
  { Connection(simulator.port()).send("GET /service/versions HT"); }
  { Connection silent(simulator.port()); }

  EXPECT_EQ(client.get("/service/sites").status, 200);
}

TEST_F(SimulatorConnection, IsCutWhenTheSimulatorEnds) {
  auto shortLived = std::make_unique<Simulator>(smallSiteOptions());
  Connection connection(shortLived->port());
  connection.ask("GET", "/service/versions");

  shortLived.reset();

  EXPECT_TRUE(connection.closedByServer());
}

TEST_F(SimulatorConnection, ComesAThousandTimes) {
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(Connection(simulator.port()).ask("GET", "/service/versions").status, 200) << i;
  }
  EXPECT_EQ(simulator.journal().back().connection, 1001U);
}

TEST_F(SimulatorConnection, ComesFromSeveralThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) good += client.get("/service/sites").status == 200 ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(good, 200);
}

TEST_F(SimulatorTls, ServesWithACertificateThatAClientCanPin) {
  const Simulator manager(options());
  RestClient client(manager.port(), manager.certificatePem());

  EXPECT_EQ(client.logIn().status, 200);
  EXPECT_EQ(client.get("/service/sites").json()["sites"][0]["ip"].asString(), "127.0.0.1");
  EXPECT_EQ(client.logOut().status, 200);
  EXPECT_TRUE(manager.journal().back().tls);
}

TEST_F(SimulatorTls, ServesManyRequestsOnAConnection) {
  const Simulator manager(options());
  Connection connection(manager.port(), manager.certificatePem());

  EXPECT_EQ(connection.ask("GET", "/service/versions").status, 200);
  EXPECT_EQ(connection.ask("GET", "/service/versions", {{"Connection", "close"}}).status, 200);
  EXPECT_TRUE(connection.closedByServer());
}

TEST_F(SimulatorTls, CoversTheAddressItIsBoundTo) {
  SimulatorOptions bound = options();
  bound.bindAddress = "127.0.0.5";
  const Simulator manager(bound);

  Connection connection(manager.port(), manager.certificatePem(), "127.0.0.5");

  EXPECT_EQ(connection.ask("GET", "/service/versions").status, 200);
}

TEST_F(SimulatorTls, IsRefusedByAClientThatTrustsAnotherCertificate) {
  const Simulator manager(options());
  const Simulator other(options());

  EXPECT_THROW(Connection(manager.port(), other.certificatePem()), std::runtime_error);
  EXPECT_EQ(RestClient(manager.port(), manager.certificatePem()).get("/service/versions").status,
            200);
}

TEST_F(SimulatorTls, DoesNotAnswerPlainRequests) {
  const Simulator manager(options());
  Connection plain(manager.port());

  EXPECT_THROW(plain.ask("GET", "/service/versions"), std::runtime_error);
  EXPECT_TRUE(manager.journal().empty());
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
