#include "tests/integration/integration_fixture.h"
#include "vrmsim/inventory_generator.h"

#include <pthread.h>

#include <functional>

namespace kestrelvisor::test {
namespace {

SimulatorOptions siteOf(const vrmsim::InventorySizes& sizes) {
  SimulatorOptions options = simulatedSite(false);
  options.inventory = vrmsim::generateInventory(sizes);
  options.keepJournal = false;
  return options;
}

// Runs work on a thread with a stack of this size.
void runOnStack(std::size_t size, std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  const auto start = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

class LargeSite : public ::testing::Test {
 protected:
  EnvProxyResult scan(const Simulator& simulator) {
    KestrelVisorEngine engine;
    return engine.scanEnvironment(reply, pathTo(simulator), description);
  }

  FreshSessions fresh;
  SilentOutput silent;
  ScanEnvironmentReply reply;
  std::string description;
};

TEST_F(LargeSite, OfTwoThousandHostsIsScannedOnASmallStack) {
  constexpr std::size_t kSmallStack = 256 * 1024;
  const Simulator simulator(siteOf({4, 2000, 1000, 0, 0, 0, 1}));
  EnvProxyResult result;

  runOnStack(kSmallStack, [&] { result = scan(simulator); });

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(reply.non_vm_records_size(), 1 + 4 + 2000);
}

TEST_F(LargeSite, OfTwentyThousandMachinesIsScannedWhole) {
  const Simulator simulator(siteOf({2, 10, 2, 20000, 2, 4, 1}));

  const EnvProxyResult result = scan(simulator);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(reply.machine_records_size(), 20000);
  EXPECT_EQ(reply.disk_records_size(), 40000);
  EXPECT_EQ(reply.non_vm_records_size(), 1 + 2 + 10);
  EXPECT_EQ(result.details.front().detailParams, (std::list<std::string>{"20000", "13", ""}));
}

}  // namespace
}  // namespace kestrelvisor::test
