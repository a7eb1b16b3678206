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

// A fault that each operation of one run meets at a request of its own.
struct WatchedFault {
  const char* name;
  const char* words;
  int attempts;  // until the request has failed
  const char* disabled;
};
class HostMemoryUnderFault : public ::testing::TestWithParam<WatchedFault> {
 protected:
  const vrmsim::test::TemporaryFolder folder;
  const std::string nested = folder.write("nested.json", std::string(100000, '['));
  Simulator simulator{simulatedSite(false)};
};

TEST_P(HostMemoryUnderFault, IsClean) {
  std::string words = GetParam().words;
  if (words == "body-file") words += "=" + nested;
  const std::string act = " count=" + std::to_string(GetParam().attempts) + " " + words;
  simulator.addFault("path=/service/sites" + act);
  simulator.addFault("path=*/clusters" + act);
  simulator.addFault("path=*/CBTbackup" + act);

  const HostRun host = runWatched(simulator, kAll);

  EXPECT_EQ(host.status, 1) << host.errors;
  EXPECT_THAT(simulator.unfiredFaults(), ::testing::IsEmpty());
  EXPECT_THAT(host.output, ::testing::HasSubstr("verify: status 107"));
  EXPECT_THAT(host.output, ::testing::HasSubstr("scan: status 104"));
  EXPECT_THAT(host.output, ::testing::HasSubstr(GetParam().disabled));
}

// Whatever stands in the answer to a CBT request, its status alone counts.
INSTANTIATE_TEST_SUITE_P(
    For, HostMemoryUnderFault,
    ::testing::Values(
        WatchedFault{"ACutInsideTheHeaders", "cut=headers:20", 1, "disable: status 0"},
        WatchedFault{"AResetInsideTheHeaders", "reset=headers:20", 2, "disable: status 97"},
        WatchedFault{"ACutInsideTheBody", "cut=body:5", 2, "disable: status 97"},
        WatchedFault{"AHalfText", R"(body="{\"total\":1,\"si")", 1, "disable: status 0"},
        WatchedFault{"AnArrayForAnObject", "body=[]", 1, "disable: status 0"},
        WatchedFault{"ADeepNesting", "body-file", 1, "disable: status 0"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HostMemory, IsCleanAfterALoginWithoutABodyInEveryOperation) {
  Simulator simulator(simulatedSite(false));
  simulator.addFault("method=POST nth=1 empty");           // of the verification
  simulator.addFault("method=POST skip=2 count=2 empty");  // of scan and CBT request

  const HostRun host = runWatched(simulator, kAll);

  EXPECT_EQ(host.status, 1) << host.errors;
  for (const std::string& operation : kAll) {
    EXPECT_THAT(host.errors, ::testing::HasSubstr(operation + ": login answer 200 without a body"));
  }
  EXPECT_THAT(simulator.unfiredFaults(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::test
