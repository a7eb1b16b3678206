#include "tests/integration/integration_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

std::string tokenOf(const RecordedRequest& request) {
  for (const auto& [name, value] : request.headers) {
    if (name == "X-Auth-Token") return value;
  }
  return "(none)";
}

std::vector<RecordedRequest> logoutsOf(const Simulator& simulator) {
  std::vector<RecordedRequest> logouts;
  for (const RecordedRequest& request : simulator.journal()) {
    if (request.method == "DELETE" && request.target == "/service/session") {
      logouts.push_back(request);
    }
  }
  return logouts;
}

struct Host {
  const char* name;
  const char* program;
};

class HostProcess : public ::testing::TestWithParam<Host> {
 protected:
  HostRun run(const Simulator& simulator, const std::vector<std::string>& operations) const {
    return runHost(GetParam().program, simulator, operations);
  }
};

TEST_P(HostProcess, RunsAllOperationsOverHttps) {
  const Simulator simulator(simulatedSite(true));
  const std::string machine = std::string(kSite) + "/vms/v1";

  const HostRun host = run(simulator, {"verify", "scan", "disable=" + machine});

  EXPECT_EQ(host.status, 0) << host.errors;
  EXPECT_THAT(host.output, HasSubstr("verify: status 0\n  OK "));
  EXPECT_THAT(host.output, HasSubstr("scan: status 0\n  detail 20063 [4] [6] []\n"
                                     "  machines 4, disks 4, datastores 2\n"));
  EXPECT_THAT(host.output, HasSubstr("disable: status 0\n"));
  EXPECT_EQ(simulator.cbtEnabled(machine), false);
}

TEST_P(HostProcess, EndsEachClientsSessionOnceAtExitTheLaterClientFirst) {
  const Simulator simulator(simulatedSite(true));

  const HostRun host = run(simulator, {"verify", "scan"});

  EXPECT_EQ(host.status, 0) << host.errors;
  const std::vector<RecordedRequest> journal = simulator.journal();
  ASSERT_GT(journal.size(), 5U);
  const std::string own = tokenOf(journal[2]);     // the engine's site query
  const std::string shared = tokenOf(journal[4]);  // the second client's
  const std::vector<RecordedRequest> logouts = logoutsOf(simulator);
  ASSERT_THAT(logouts, SizeIs(2));
  EXPECT_EQ(tokenOf(logouts[0]), shared);
  EXPECT_EQ(tokenOf(logouts[1]), own);
  EXPECT_EQ(logouts[1].sequence, journal.back().sequence);
  EXPECT_EQ(logouts[0].sequence + 1, logouts[1].sequence);
  EXPECT_EQ(simulator.openSessions(), 0U);
}

TEST_P(HostProcess, TellsOfARefusedCertificate) {
  const Simulator simulator(simulatedSite(true));
  const Simulator other(simulatedSite(true));

  const HostRun host = runHost(GetParam().program, simulator.address(), simulator.port(), true,
                               other.certificatePem(), {"verify"});

  EXPECT_EQ(host.status, 1);
  EXPECT_THAT(host.output, HasSubstr("verify: status 107\n  detail 20086 [SSL peer certificate or "
                                     "SSH remote key was not OK. The error code is 2002.] [] []"));
  EXPECT_THAT(simulator.journal(), SizeIs(0));
}

TEST_P(HostProcess, NeverShowsThePassword) {
  const Simulator simulator(simulatedSite(false));

  const HostRun host = run(simulator, {"verify", "scan"});

  EXPECT_THAT(host.output, Not(HasSubstr(std::string(kPassword))));
  EXPECT_THAT(host.errors, Not(HasSubstr(std::string(kPassword))));
}

TEST_P(HostProcess, WithoutArgumentsTellsItsUsage) {
  const HostRun host = runProgram({GetParam().program});

  EXPECT_EQ(host.status, 2);
  EXPECT_THAT(host.errors, HasSubstr("usage: "));
}

std::vector<Host> hosts() {
  std::vector<Host> all{{"Linked", LINKED_HOST}, {"Plugin", PLUGIN_HOST}};
#ifdef OTHER_PLUGIN_HOST
  all.push_back({"PluginOfTheOtherCompiler", OTHER_PLUGIN_HOST});
#endif
  return all;
}

INSTANTIATE_TEST_SUITE_P(Example, HostProcess, ::testing::ValuesIn(hosts()),
                         [](const auto& row) { return std::string(row.param.name); });

class EngineIdentityTest : public ::testing::TestWithParam<Host> {};

TEST_P(EngineIdentityTest, IsOneHoweverTheHostReachesIt) {
  const HostRun probe = runProgram({GetParam().program});

  EXPECT_EQ(probe.status, 0) << probe.errors;
  EXPECT_EQ(probe.output, "one engine\n");
}

std::vector<Host> probes() {
  std::vector<Host> all{{"OfThisCompiler", ONE_ENGINE_PROBE}};
#ifdef OTHER_ONE_ENGINE_PROBE
  all.push_back({"OfTheOtherCompiler", OTHER_ONE_ENGINE_PROBE});
#endif
  return all;
}

INSTANTIATE_TEST_SUITE_P(Probe, EngineIdentityTest, ::testing::ValuesIn(probes()),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::test
