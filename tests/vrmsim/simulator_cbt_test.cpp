#include "tests/vrmsim/simulator_fixture.h"

namespace kestrelvisor::vrmsim::test {
namespace {

class SimulatorCbt : public SimulatorTest {
 protected:
  Answer disable(const std::string& vm) {
    return client.ask("DELETE", under("/vms/" + vm + "/action/CBTbackup"));
  }
};

TEST_F(SimulatorCbt, IsOnAtFirst) { EXPECT_EQ(simulator.cbtEnabled(under("/vms/v1")), true); }

TEST_F(SimulatorCbt, IsOffAfterItsDeletion) {
  const Answer answer = disable("v1");

  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body,
            R"({"urn":"urn:sites:S1:vms:v1","uri":"/service/sites/S1/vms/v1","cbtEnabled":false})");
  EXPECT_EQ(simulator.cbtEnabled(under("/vms/v1")), false);
  EXPECT_EQ(simulator.cbtEnabled(under("/vms/v2")), true);
}

TEST_F(SimulatorCbt, CanBeSwitchedOffTwice) {
  disable("v1");

  EXPECT_EQ(disable("v1").status, 200);
}

TEST_F(SimulatorCbt, StaysOffInTheInventory) {
  disable("v1");

  simulator.changeInventory([](Inventory& inventory) { inventory.vms[1].cbtEnabled = false; });

  EXPECT_FALSE(simulator.inventory().vms[0].cbtEnabled);
  EXPECT_FALSE(simulator.inventory().vms[1].cbtEnabled);
  EXPECT_TRUE(simulator.inventory().vms[2].cbtEnabled);
}

TEST_F(SimulatorCbt, OfAnUnknownVmIsNothing) {
  EXPECT_EQ(simulator.cbtEnabled(under("/vms/v99")), std::nullopt);
  EXPECT_EQ(simulator.cbtEnabled("v1"), std::nullopt);
}

struct CbtRefusal {
  const char* name;
  const char* vm;
  int status;
  const char* code;
};
class SimulatorCbtRefusal : public SimulatorTest,
                            public ::testing::WithParamInterface<CbtRefusal> {};

TEST_P(SimulatorCbtRefusal, NamesItsReason) {
  const std::string vm = under(std::string("/vms/") + GetParam().vm);

  const Answer answer = client.ask("DELETE", vm + "/action/CBTbackup");

  EXPECT_EQ(answer.status, GetParam().status);
  EXPECT_EQ(answer.errorCode(), GetParam().code);
  EXPECT_FALSE(answer.json()["errorDes"].asString().empty());
  EXPECT_NE(simulator.cbtEnabled(vm), false);
}

INSTANTIATE_TEST_SUITE_P(SimulatorCbt, SimulatorCbtRefusal,
                         ::testing::Values(CbtRefusal{"UnknownVm", "v99", 404, "10000008"},
                                           CbtRefusal{"Template", "t1", 409, "10300427"},
                                           CbtRefusal{"LinkedClone", "l1", 409, "10300428"},
                                           CbtRefusal{"DatastoreType", "v3", 409, "10430044"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::vrmsim::test
