// Every line that the engine promises to its hosts' logs is written for real here, and nothing else
// is.

#include "engine/kestrelvisor_public.h"
#include "platform/contract/request_id.h"
#include "platform/reference/logging.h"
#include "rest/clock.h"
#include "tests/catalogue/log_script.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <ctime>

namespace {

using namespace kestrelvisor::test;

constexpr int kNoLevel = 5;

// What scenarios change in the process, set before one and put back behind it.
class ScenarioState {
 public:
  ScenarioState() {
    *KCPTSP::get(TSP_RequestID) = kRequestId;
    kestrelvisor::setClock([] { return std::time_t{kNow}; });
    kestrelvisor::LogOptions quiet;  // the capture sees every record all the same
    quiet.threshold = kNoLevel;
    std::string problem;
    kestrelvisor::configureLogging(quiet, problem);
  }
  ~ScenarioState() {
    // The fake managers are gone: nobody is there for a logout.
    KestrelVisorPublic::getInstance().restApi.tokenMap.clear();
    KestrelVisorPublic::getInstance().hostGuidByUrn.clear();
    kestrelvisor::setClock(nullptr);
    *KCPTSP::get(TSP_RequestID) = 0;
  }
  ScenarioState(const ScenarioState&) = delete;
  ScenarioState& operator=(const ScenarioState&) = delete;
};

Script run(const Scenario& scenario) {
  const ScenarioState state;
  const LogCapture log;
  const Script script = scenario.provoke();
  EXPECT_EQ(textOf(log.records()), script.text()) << scenario.name;
  return script;
}

std::vector<Scenario> allScenarios() {
  std::vector<Scenario> all;
  for (const auto some :
       {sessionScenarios(), inventoryScenarios(), treeScenarios(), operationScenarios()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

class LogScenario : public ::testing::TestWithParam<Scenario> {};

TEST_P(LogScenario, WritesItsLinesInOrderAndNoOther) { run(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Engine, LogScenario, ::testing::ValuesIn(allScenarios()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(LogCatalogue, HasNoLineThatNobodyWrites) {
  std::set<std::string, std::less<>> written;
  for (const Scenario& scenario : allScenarios()) {
    const Script script = run(scenario);
    written.insert(script.ids().begin(), script.ids().end());
  }

  for (const ToldLine& told : toldLines()) {
    EXPECT_TRUE(written.contains(told.id)) << told.id << ": " << told.text;
  }
}

TEST(LogCatalogue, NamesEachLineOnce) {
  std::set<std::string_view> ids;
  for (const ToldLine& told : toldLines()) {
    EXPECT_TRUE(ids.insert(told.id).second) << told.id;
  }
}

}  // namespace
