#include "tests/integration/integration_fixture.h"

namespace kestrelvisor::test {
namespace {

TEST(LargeSite, OfTwentyThousandMachinesIsScannedWhole) {
  const FreshSessions fresh;
  const SilentOutput silent;
  const Simulator simulator(generatedSite({2, 10, 2, 20000, 2, 4, 1}));
  KestrelVisorEngine engine;
  ScanEnvironmentReply reply;
  std::string description;

  const EnvProxyResult result = engine.scanEnvironment(reply, pathTo(simulator), description);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(reply.machine_records_size(), 20000);
  EXPECT_EQ(reply.disk_records_size(), 40000);
  EXPECT_EQ(reply.non_vm_records_size(), 1 + 2 + 10);
  EXPECT_EQ(result.details.front().detailParams, (std::list<std::string>{"20000", "13", ""}));
}

}  // namespace
}  // namespace kestrelvisor::test
