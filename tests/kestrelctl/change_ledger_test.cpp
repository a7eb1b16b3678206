#include "kestrelctl/worker/change_ledger.h"

#include "kestrelctl/engine_session.h"
#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl::test {
namespace {

// What the manager does with the request, and whether anybody knows then what became of it.
struct Answer {
  const char* name;
  std::vector<std::string> faults;
  bool unknown = false;
};
void PrintTo(const Answer& answer, std::ostream* out) { *out << answer.name; }

class ChangeOutcome : public ::testing::TestWithParam<Answer> {
 protected:
  // Whatever comes of it.
  void disable() {
    ConnectionOptions options;
    options.manager = readManagerAddress(manager.url());
    options.user = kUser;
    EngineSession session(options);
    session.usePassword(kSecret);
    const auto take = [this](const LogRecord& record) {
      ledger.take(record);
      wasUnknown = wasUnknown || ledger.isOutcomeUnknown();
    };
    const LogObserver observer(take, nullptr, ChangeLedger::kLowestLevel);
    try {
      session.disableCbt(machineUri(manager.inventory(), 0));
    } catch (const Failure&) {
    }
  }

  Simulator manager{optionsOfNextManager()};
  ChangeLedger ledger;
  bool wasUnknown = false;  // at some time
};

TEST_P(ChangeOutcome, IsUnknownWhereNoAnswerTellsIt) {
  for (const std::string& fault : GetParam().faults) manager.addFault(fault);

  disable();

  EXPECT_EQ(manager.unfiredFaults(), std::vector<std::string>());
  EXPECT_TRUE(wasUnknown);  // while the request was on its way
  EXPECT_EQ(ledger.isOutcomeUnknown(), GetParam().unknown);
}

INSTANTIATE_TEST_SUITE_P(
    Ledger, ChangeOutcome,
    ::testing::Values(
        Answer{"Success", {}}, Answer{"Refusal", {"path=*/action/CBTbackup status=500"}},
        Answer{"RefusalWithoutAText", {"path=*/action/CBTbackup status=404 empty"}},
        Answer{"AnswersThatBreakOff", {"path=*/action/CBTbackup cut=headers:0"}, true},
        Answer{"FirstAnswerThatBreaksOff", {"path=*/action/CBTbackup nth=1 cut=headers:0"}},
        Answer{"ForgottenSession", {"path=*/action/CBTbackup nth=1 status=401 code=10000002"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ChangeLedger, KnowsThatNothingWasAskedWhereTheRequestNeverBegan) {
  Simulator manager(optionsOfNextManager());
  manager.addFault("path=/service/sites status=500");
  ConnectionOptions options;
  options.manager = readManagerAddress(manager.url());
  options.user = kUser;
  EngineSession session(options);
  session.usePassword(kSecret);
  ChangeLedger ledger;
  bool wasUnknown = false;
  const auto take = [&](const LogRecord& record) {
    ledger.take(record);
    wasUnknown = wasUnknown || ledger.isOutcomeUnknown();
  };
  const LogObserver observer(take, nullptr, ChangeLedger::kLowestLevel);

  EXPECT_THROW(session.disableCbt("/service/x"), Failure);

  EXPECT_FALSE(wasUnknown);
}

}  // namespace
}  // namespace kestrelvisor::ctl::test
