#include "tests/integration/integration_fixture.h"
#include "tests/support/loopback_socket.h"

#include <sys/socket.h>

#include <sstream>
#include <thread>

namespace kestrelvisor::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Gt;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

const std::string kMachine = std::string(kSite) + "/vms/v1";
const std::vector<std::string> kAll{"verify", "scan", "disable=" + kMachine};

// The lines of a probe's output that tell of its process: "STEP: WHAT".
std::vector<std::string> changesIn(const HostRun& host) {
  const std::string mark = "process after ";
  std::vector<std::string> changes;
  std::istringstream lines(host.output);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(mark)) changes.push_back(line.substr(mark.size()));
  }
  return changes;
}

auto nothingAfter(const std::vector<std::string>& steps) {
  std::vector<std::string> lines{"init: unchanged"};
  for (const std::string& step : steps) lines.push_back(step + ": unchanged");
  return ::testing::ElementsAreArray(lines);
}

int sendsIntoClosedConnections(const HostRun& host) {
  const std::string mark = "sends into closed connections: ";
  const std::size_t at = host.output.find(mark);
  return at == std::string::npos ? -1 : std::stoi(host.output.substr(at + mark.size()));
}

class GuestTest : public ::testing::TestWithParam<bool> {
 protected:
  Simulator simulator{simulatedSite(GetParam())};
};

TEST_P(GuestTest, LeavesTheProcessAsItWasAfterSuccess) {
  const HostRun host = runHost(GUEST_PROBE, simulator, kAll);

  EXPECT_EQ(host.status, 0) << host.errors;
  EXPECT_THAT(changesIn(host), nothingAfter(kAll));
}

TEST_P(GuestTest, LeavesTheProcessAsItWasAfterBrokenBodies) {
  simulator.answerOnce("GET", "/service/versions", 1, {200, {}, R"({"versions":)"});
  simulator.answerOnce("GET", std::string(kSite) + "/clusters", 1,
                       {200, {}, R"({"clusters": [1]})"});
  simulator.answerOnce("DELETE", kMachine + "/action/CBTbackup", 1, {500, {}, "<html>"});

  const HostRun host = runHost(GUEST_PROBE, simulator, kAll);

  EXPECT_EQ(host.status, 1);
  EXPECT_THAT(host.output, Not(HasSubstr("status 0")));
  EXPECT_THAT(changesIn(host), nothingAfter(kAll));
}

TEST_P(GuestTest, LeavesTheProcessAsItWasAfterAnAnswerThatMakesTheEngineThrow) {
  simulator.answerOnce("POST", "/service/session", 1, {200, {}, ""});

  const HostRun host = runHost(GUEST_PROBE, simulator, {"verify", "scan"});

  EXPECT_THAT(host.errors, HasSubstr("login answer 200 without a body"));
  EXPECT_THAT(changesIn(host), nothingAfter({"verify", "scan"}));
}

TEST_P(GuestTest, LeavesTheProcessAsItWasAfterRefusedConnections) {
  const HostRun host =
      runHost(GUEST_PROBE, "127.0.0.1", unusedPort("127.0.0.1"), GetParam(), "", kAll);

  EXPECT_EQ(host.status, 1);
  EXPECT_THAT(host.output, HasSubstr("The error code is 2000."));
  EXPECT_THAT(changesIn(host), nothingAfter(kAll));
}

INSTANTIATE_TEST_SUITE_P(Over, GuestTest, ::testing::Bool(),
                         [](const auto& row) { return std::string(row.param ? "Https" : "Http"); });

TEST(Guest, LeavesTheProcessAsItWasAfterARefusedCertificate) {
  const Simulator simulator(simulatedSite(true));

  const HostRun host =
      runHost(GUEST_PROBE, simulator.address(), simulator.port(), true, "", {"verify", "scan"});

  EXPECT_EQ(host.status, 1);
  EXPECT_THAT(host.output, HasSubstr("The error code is 2002."));
  EXPECT_THAT(changesIn(host), nothingAfter({"verify", "scan"}));
}

TEST(Guest, LeavesTheProcessAsItWasAfterABodyThatWasCutOff) {
  FakeManager manager;
  manager.serves("GET", "/service/versions",
                 bytes("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{"));

  const HostRun host =
      runHost(GUEST_PROBE, manager.address(), manager.port(), false, "", {"verify", "scan"});

  EXPECT_EQ(host.status, 1);
  EXPECT_THAT(host.output, HasSubstr("The error code is 2002."));
  EXPECT_THAT(changesIn(host), nothingAfter({"verify", "scan"}));
}

// Without it the cases above could pass by looking nowhere.
TEST(Guest, ProbeNoticesEachKindOfChange) {
  const Simulator simulator(simulatedSite(false));

  const HostRun host = runHost(GUEST_PROBE, simulator, {"disturb"});

  const std::vector<std::string> changes = changesIn(host);
  for (const char* what :
       {"signal 10 was", "signal mask was", "C locale was", "C++ locale was", "thread locale was",
        "working directory was", "umask was", "environment was", "threads was"}) {
    EXPECT_THAT(changes, Contains(StartsWith(std::string("disturb: ") + what)));
  }
  EXPECT_THAT(changes, Contains(AllOf(StartsWith("disturb: file "), HasSubstr("/dev/null"))));
}

// Answers before it has read more than the start of a request, and hangs up. What it leaves unread
// makes the kernel reset the connection, so that the client sends into one that both ends have
// left.
class HastyManager {
 public:
  HastyManager() : thread_([this] { serve(); }) {}
  ~HastyManager() {
    shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
  }
  HastyManager(const HastyManager&) = delete;
  HastyManager& operator=(const HastyManager&) = delete;

  std::uint16_t port() const { return listener_.port(); }

 private:
  void serve() const {
    for (;;) {
      const Descriptor connection = listener_.accept();
      if (!connection.valid()) return;
      char start = '\0';
      if (recv(connection.get(), &start, 1, 0) != 1) continue;
      sendAll(connection.get(), "HTTP/1.1 200 OK\r\nContent-Length: 2000\r\n\r\n");
      shutdown(connection.get(), SHUT_WR);
    }
  }

  Listener listener_{"127.0.0.1"};
  std::thread thread_;
};

TEST(Guest, SurvivesAManagerThatHangsUpWhileTheRequestIsSent) {
  const HastyManager manager;

  const HostRun host = runHost(GUEST_PROBE, "127.0.0.1", manager.port(), false, "",
                               {"verify", "scan"}, {"GUEST_PROBE_SENDS_HALTINGLY=1"});

  EXPECT_EQ(host.status, 1) << host.errors;
  EXPECT_THAT(sendsIntoClosedConnections(host), Gt(0));
  EXPECT_THAT(changesIn(host), nothingAfter({"verify", "scan"}));
}

// TLS takes its leave after the reset, on a connection that is no more.
TEST(Guest, SurvivesAManagerThatResetsAConnectionUnderTls) {
  Simulator simulator(simulatedSite(true));
  simulator.addFault("path=/service/versions reset=request");

  const HostRun host = runHost(GUEST_PROBE, simulator, {"verify", "scan"});

  EXPECT_EQ(host.status, 1) << host.errors;
  EXPECT_THAT(sendsIntoClosedConnections(host), Gt(0));
  EXPECT_THAT(changesIn(host), nothingAfter({"verify", "scan"}));
}

}  // namespace
}  // namespace kestrelvisor::test
