#include "tests/vrmsim/running_simulator.h"
#include "tests/vrmsim/simulator_fixture.h"
#include "vrmsim/inventory_file.h"
#include "vrmsim/inventory_generator.h"

#include <atomic>
#include <set>

namespace kestrelvisor::vrmsim::test {
namespace {

std::set<std::string> optionsIn(const std::string& text) {
  std::set<std::string> options;
  for (std::size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at)) {
    const std::size_t end = text.find_first_not_of("-abcdefghijklmnopqrstuvwxyz", at);
    const std::string word = text.substr(at, end - at);
    if (word.find_first_not_of('-') != std::string::npos) options.insert(word);
    at = end;
  }
  return options;
}

// Keep this case and the guide's example the same.
TEST(SimulatorGuide, ExampleWorks) {
  SimulatorOptions options;
  options.inventory = generateInventory({.clusters = 1, .hosts = 4, .vms = 8});
  options.tls = true;
  std::atomic<TimePoint> now{TimePoint()};
  options.clock = [&now] { return now.load(); };  // sessions expire without waiting
  Simulator manager(options);

  // The second question for sites fails as if the manager were busy.
  manager.answerOnce("GET", "/service/sites", 2, {503, {}, "busy"});

  RestClient client(manager.port(), manager.certificatePem());
  client.logIn();
  EXPECT_EQ(client.get("/service/sites").status, 200);
  EXPECT_EQ(client.get("/service/sites").status, 503);

  now = now.load() + options.tokenValidity;
  EXPECT_EQ(client.get("/service/sites").status, 401);
  EXPECT_EQ(manager.openSessions(), 0U);
  EXPECT_EQ(manager.journal().back().target, "/service/sites");
}

TEST(SimulatorGuide, ShowsTheExampleThatWorks) {
  const std::string guide = TemporaryFolder::read(VRMSIM_GUIDE);
  const std::vector<std::string> examples = blocksOf(guide, "cpp");

  ASSERT_EQ(examples.size(), 1U);
  EXPECT_THAT(TemporaryFolder::read(VRMSIM_GUIDE_TEST), ::testing::HasSubstr(examples[0]));
}

TEST(SimulatorGuide, ShowsAnInventoryThatCanBeServed) {
  const std::vector<std::string> blocks = blocksOf(TemporaryFolder::read(VRMSIM_GUIDE), "json");
  ASSERT_EQ(blocks.size(), 2U);  // the first is a line of the request log

  const Inventory inventory = parseInventory(blocks[1]);

  EXPECT_EQ(inventory.ownSite(), "S1");
  EXPECT_EQ(inventory.vms.size(), 2U);
}

TEST(SimulatorGuide, TellsEveryOptionAndNoOther) {
  Process help(VRMSIM_EXECUTABLE, {"--help"});
  const std::string text = help.restOfOutput();
  ASSERT_EQ(help.wait(), 0);

  EXPECT_EQ(optionsIn(TemporaryFolder::read(VRMSIM_GUIDE)), optionsIn(text));
}

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
