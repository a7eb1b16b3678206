#include "tests/integration/integration_fixture.h"
#include "tests/support/loopback_socket.h"

namespace kestrelvisor::test {
namespace {

constexpr int kMemoryError = 9;

// Runs the linked host under valgrind: nothing that is read or written wrongly, nothing lost.
HostRun runWatched(const std::string& address, std::uint16_t port, bool https,
                   const std::string& certificate, const std::vector<std::string>& operations) {
  return runHost(LINKED_HOST, address, port, https, certificate, operations,
                 {VALGRIND, "--quiet", "--leak-check=full",
                  "--error-exitcode=" + std::to_string(kMemoryError)});
}

HostRun runWatched(const Simulator& simulator, const std::vector<std::string>& operations) {
  const std::string certificate = simulator.certificatePem();
  return runWatched(simulator.address(), simulator.port(), !certificate.empty(), certificate,
                    operations);
}

const std::vector<std::string> kAll{"verify", "scan", "disable=/service/sites/S1/vms/v1"};

TEST(HostMemory, IsCleanAfterSuccessOverHttps) {
  const Simulator simulator(simulatedSite(true));

  const HostRun host = runWatched(simulator, kAll);

  EXPECT_EQ(host.status, 0) << host.errors;
  EXPECT_EQ(simulator.openSessions(), 0U);
}

TEST(HostMemory, IsCleanAfterRefusedConnections) {
  const HostRun host = runWatched("127.0.0.1", unusedPort("127.0.0.1"), true, "", kAll);

  EXPECT_EQ(host.status, 1) << host.errors;
}

TEST(HostMemory, IsCleanAfterAnswersWithoutABody) {
  Simulator simulator(simulatedSite(false));
  simulator.answerOnce("GET", "/service/versions", 1, {500, {}, ""});
  simulator.answerOnce("GET", std::string(kSite) + "/clusters", 1, {500, {}, ""});
  simulator.answerOnce("DELETE", std::string(kSite) + "/vms/v1/action/CBTbackup", 1, {500, {}, ""});

  const HostRun host = runWatched(simulator, kAll);

  EXPECT_EQ(host.status, 1) << host.errors;
  EXPECT_THAT(host.output, ::testing::HasSubstr("[other error The error code is 500.]"));
  EXPECT_THAT(host.output, ::testing::HasSubstr("[other errorThe error code is 500.]"));
}

TEST(HostMemory, IsCleanAfterALoginWithoutABody) {
  Simulator simulator(simulatedSite(false));
  simulator.answerOnce("POST", "/service/session", 1, {200, {}, ""});

  const HostRun host = runWatched(simulator, {"verify", "verify"});

  EXPECT_EQ(host.status, 1) << host.errors;
  EXPECT_THAT(host.errors, ::testing::HasSubstr("login answer 200 without a body"));
  EXPECT_THAT(host.output, ::testing::HasSubstr("verify: status 0"));
}

}  // namespace
}  // namespace kestrelvisor::test
