#include "tests/integration/integration_fixture.h"

#include <pthread.h>

#include <functional>

namespace kestrelvisor::test {
namespace {

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

TEST(SmallStack, IsEnoughToScanTwoThousandHosts) {
  constexpr std::size_t kSmallStack = 256 * 1024;
  const FreshSessions fresh;
  const SilentOutput silent;
  const Simulator simulator(generatedSite({4, 2000, 1000, 0, 0, 0, 1}));
  KestrelVisorEngine engine;
  ScanEnvironmentReply reply;
  std::string description;
  EnvProxyResult result;

  runOnStack(kSmallStack,
             [&] { result = engine.scanEnvironment(reply, pathTo(simulator), description); });

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(reply.non_vm_records_size(), 1 + 4 + 2000);
}

}  // namespace
}  // namespace kestrelvisor::test
