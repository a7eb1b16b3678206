#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/tree/inventory_objects.h"

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Tree = tree<kestrelVisor_TreeNode>;

std::string uuidOf(std::string text) { return EnvProxy_string_to_uuid(text); }

ST_VDI_INFO diskOf(int number) {
  ST_VDI_INFO disk;
  disk.volumeUuid = volumeUuid(number);
  disk.diskName = "disk-" + std::to_string(number);
  disk.datastoreUrn = "urn:sites:1:datastores:1";
  disk.sequenceNum = static_cast<std::uint32_t>(number);
  disk.quantityGB = 10;
  disk.pciType = "SCSI";
  return disk;
}

// A root with one host below it, and machines below that.
class MachineTables : public ::testing::Test {
 protected:
  MachineTables() {
    vrm_.urn = "urn:sites:1";
    kestrelVisor_TreeNode root;
    root.index = index_.getIndex();
    root.type = 1;
    KestrelVisorPublic::ObjectList hosts{hostObject(1)};
    engine_.AddChildNodesToTree(index_, tree_.add_root(root), tree_, hosts);
  }
  kestrelVisor_TreeNode& add(const boost::shared_ptr<VM_INFO>& machine) {
    Tree::leaf_iterator host(tree_);
    host.position = 1;
    KestrelVisorPublic::ObjectList machines{machine};
    engine_.AddChildNodesToTree(index_, host, tree_, machines);
    return tree_.node(tree_.end - 1);
  }
  bool fill() { return engine_.CreateVMAndDiskTable(vrm_, tree_, osMap_, reply_, error_); }

  LogCapture log_;
  VRM_INFO vrm_;
  KestrelVisorErrorMessage error_;
  KestrelVisorPublic::OsMap osMap_;
  ScanEnvironmentReply reply_;
  ObjectIndex index_;
  Tree tree_;
  KestrelVisorPublic engine_;
};

TEST_F(MachineTables, HoldEveryFieldOfAMachine) {
  const auto machine = machineObject(1);
  machine->detail.uuid = "AAAAAAAA-0000-4000-8000-000000000001";
  machine->detail.group = "KM_x";
  machine->detail.hostUrn = hostUrn(1);
  machine->detail.osOptions.osType = "Linux";
  machine->detail.osOptions.osVersion = 5;
  machine->detail.vmConfig.disks = {diskOf(1), diskOf(2)};
  osMap_["linux"][5] = "Linux 5";
  engine_.hostGuidByUrn[hostUrn(1)] = "host guid";
  const std::uint64_t number = add(machine).index;

  EXPECT_TRUE(fill());

  ASSERT_EQ(reply_.machine_records_size(), 1);
  const machine_record& record = reply_.machine_records(0);
  EXPECT_EQ(record.vmid(), number);
  EXPECT_EQ(record.name(), "vm-1");
  EXPECT_EQ(record.guestos(), "Linux 5");
  EXPECT_EQ(record.disknumber(), 2U);
  EXPECT_EQ(record.totalsize(), 20971520U);
  EXPECT_EQ(record.mo(), "/service/sites/1/vms/1");
  EXPECT_EQ(record.uuid(), "AAAAAAAA-0000-4000-8000-000000000001");
  EXPECT_EQ(record.canonicaluuid(), "aaaaaaaa-0000-4000-8000-000000000001");
  EXPECT_EQ(record.objectguid(), uuidOf("urn:sites:1aaaaaaaa-0000-4000-8000-000000000001"));
  EXPECT_EQ(record.virtualgrouptype(), 2);
  EXPECT_EQ(record.hostguid(), "host guid");
  EXPECT_EQ(record.recordtype(), 2);
}

TEST_F(MachineTables, HoldEveryFieldOfADisk) {
  const auto machine = machineObject(1);
  machine->detail.vmConfig.disks = {diskOf(3)};
  const std::uint64_t number = add(machine).index;

  EXPECT_TRUE(fill());

  ASSERT_EQ(reply_.disk_records_size(), 1);
  const disk_record& record = reply_.disk_records(0);
  EXPECT_EQ(record.vmid(), number);
  EXPECT_EQ(record.diskuuid(), volumeUuid(3));
  EXPECT_EQ(record.objectguid(), uuidOf("urn:sites:1" + volumeUuid(3)));
  EXPECT_EQ(record.disktype(), 2);
  EXPECT_EQ(record.disknumber(), 3U);
  EXPECT_EQ(record.disknumbercopy(), 3U);
  EXPECT_EQ(record.disksize(), 10485760U);
  EXPECT_EQ(record.datastoremoref(), "/service/sites/1/datastores/1");
  EXPECT_EQ(record.diskname(), "disk-3");
  EXPECT_TRUE(record.has_reserved());
  EXPECT_EQ(record.reserved(), 0U);
}

TEST_F(MachineTables, TakeASizeAndANumberBelowZeroModulo2To64) {
  const auto machine = machineObject(1);
  ST_VDI_INFO disk = diskOf(1);
  disk.quantityGB = 4294967295U;
  disk.sequenceNum = 4294967295U;
  machine->detail.vmConfig.disks = {disk};
  add(machine);
  EXPECT_TRUE(fill());
  EXPECT_EQ(reply_.disk_records(0).disksize(), 18446744073708503040U);
  EXPECT_EQ(reply_.disk_records(0).disknumber(), 18446744073709551615U);
  EXPECT_EQ(reply_.machine_records(0).totalsize(), 18446744073708503040U);
}

TEST_F(MachineTables, HoldAMachineWithoutDisks) {
  add(machineObject(1));
  EXPECT_TRUE(fill());
  ASSERT_EQ(reply_.machine_records_size(), 1);
  EXPECT_TRUE(reply_.machine_records(0).has_disknumber());
  EXPECT_EQ(reply_.machine_records(0).disknumber(), 0U);
  EXPECT_EQ(reply_.disk_records_size(), 0);
}

TEST_F(MachineTables, HoldMachinesAndDisksInTheOrderOfTheTree) {
  const auto first = machineObject(1);
  first->detail.vmConfig.disks = {diskOf(2), diskOf(1)};
  const auto second = machineObject(2);
  second->detail.vmConfig.disks = {diskOf(3)};
  add(first);
  add(second);

  EXPECT_TRUE(fill());

  EXPECT_EQ(reply_.machine_records(0).name(), "vm-1");
  EXPECT_EQ(reply_.machine_records(1).name(), "vm-2");
  ASSERT_EQ(reply_.disk_records_size(), 3);
  EXPECT_EQ(reply_.disk_records(0).diskname(), "disk-2");
  EXPECT_EQ(reply_.disk_records(1).diskname(), "disk-1");
  EXPECT_EQ(reply_.disk_records(2).diskname(), "disk-3");
  EXPECT_EQ(reply_.disk_records(2).vmid(), reply_.machine_records(1).vmid());
}

TEST_F(MachineTables, HoldNothingOfHostsAndClusters) {
  Tree tree;
  KestrelVisorPublic::ObjectList leaves{hostObject(1), clusterObject(1)};
  engine_.AddChildNodesToTree(index_, tree.add_root({}), tree, leaves);
  EXPECT_TRUE(engine_.CreateVMAndDiskTable(vrm_, tree, osMap_, reply_, error_));
  EXPECT_EQ(reply_.machine_records_size(), 0);
  EXPECT_TRUE(tree.node(1).isValid);
}

TEST_F(MachineTables, ShowAnUnknownGuestAndNotTheOneOfTheMachineBefore) {
  osMap_["linux"][5] = "Linux 5";
  for (const int version : {5, 6, 5}) {
    const auto machine = machineObject(version);
    machine->detail.osOptions.osType = "Linux";
    machine->detail.osOptions.osVersion = version;
    add(machine);
  }
  EXPECT_TRUE(fill());
  EXPECT_EQ(reply_.machine_records(0).guestos(), "Linux 5");
  EXPECT_EQ(reply_.machine_records(1).guestos(), "unknown");
  EXPECT_EQ(reply_.machine_records(2).guestos(), "Linux 5");
}

TEST_F(MachineTables, LeaveTheErrorRecordAsItWas) {
  error_.errorCode = "10000123";
  add(machineObject(1));
  EXPECT_TRUE(fill());
  EXPECT_EQ(error_.errorCode, "10000123");
}

TEST_F(MachineTables, LeaveTheHostEmptyWhenItIsNotKnown) {
  const auto machine = machineObject(1);
  machine->detail.hostUrn = hostUrn(7);
  add(machine);
  EXPECT_TRUE(fill());
  EXPECT_TRUE(reply_.machine_records(0).has_hostguid());
  EXPECT_EQ(reply_.machine_records(0).hostguid(), "");
  EXPECT_THAT(engine_.hostGuidByUrn, IsEmpty());
}

TEST_F(MachineTables, FindTheHostByTheLocationOfAMachineWithoutAHost) {
  const auto machine = machineObject(1);
  machine->detail.location = hostUrn(1);
  engine_.hostGuidByUrn[hostUrn(1)] = "host guid";
  add(machine);
  EXPECT_TRUE(fill());
  EXPECT_EQ(reply_.machine_records(0).hostguid(), "host guid");
}

TEST_F(MachineTables, MarkAMachineWithoutAValidUuidAndGoOn) {
  const auto bad = machineObject(1);
  bad->detail.uuid = "no";
  add(bad);
  add(machineObject(2));

  EXPECT_TRUE(fill());

  EXPECT_FALSE(tree_.node(2).isValid);
  EXPECT_TRUE(tree_.node(3).isValid);
  ASSERT_EQ(reply_.machine_records_size(), 1);
  EXPECT_EQ(reply_.machine_records(0).name(), "vm-2");
  EXPECT_TRUE(log_.has(3, "Failed to get VM[/service/sites/1/vms/1] information !"));
}

TEST_F(MachineTables, ThrowForAMachineWithoutAnObject) {
  add(machineObject(1)).object = boost::any();
  EXPECT_THROW(fill(), boost::bad_any_cast);
}

TEST_F(MachineTables, WriteTheirLinesInOrder) {
  const auto machine = machineObject(1);
  machine->detail.group = "VDI";
  machine->detail.hostUrn = hostUrn(1);
  machine->detail.vmConfig.disks = {diskOf(1)};
  engine_.hostGuidByUrn[hostUrn(1)] = "host guid";
  add(machine);

  EXPECT_TRUE(fill());

  std::vector<std::string> lines;
  for (const auto& record : log_.records()) {
    if (record.function.starts_with("KestrelVisorPublic::") && record.level == 0) {
      lines.push_back(record.text);
    }
  }
  const std::string guid = reply_.machine_records(0).objectguid();
  EXPECT_THAT(lines,
              ElementsAre("find VDI group ,pos is: 0",
                          "host GUID : host guid host moRef : urn:sites:1:hosts:1",
                          "machine GUID is :" + machineUuid(1) + " object str is :urn:sites:1" +
                              machineUuid(1) + " machine object GUID is:" + guid +
                              " vm group is  :VDI host urn :urn:sites:1:hosts:1",
                          "disk GUID is :" + volumeUuid(1) +
                              "  disk object GUID is:" + reply_.disk_records(0).objectguid()));
}

struct GroupRow {
  const char* name;
  std::string group;
  int type;
  std::string line;  // empty: none
};
class MachineGroup : public ::testing::TestWithParam<GroupRow> {};

TEST_P(MachineGroup, HasItsTypeByItsPrefix) {
  const LogCapture log;
  KestrelVisorPublic engine;
  std::string group = GetParam().group;

  EXPECT_EQ(engine.getVgroupType(group), GetParam().type);

  if (GetParam().line.empty()) {
    EXPECT_THAT(log.texts(), IsEmpty());
  } else {
    EXPECT_THAT(log.texts(0), ElementsAre(GetParam().line));
  }
}

INSTANTIATE_TEST_SUITE_P(
    MachineTables, MachineGroup,
    ::testing::Values(GroupRow{"General", "KC_a", 0, "find general group ,pos is: 0"},
                      GroupRow{"OpenStack", "KSPa", 1, "find open stack group ,pos is: 0"},
                      GroupRow{"OpenStackAlone", "KSP", 1, "find open stack group ,pos is: 0"},
                      GroupRow{"Km", "KM_a", 2, "find KM group ,pos is: 0"},
                      GroupRow{"VdiAlone", "VDI", 3, "find VDI group ,pos is: 0"},
                      GroupRow{"None", "", 0, ""}, GroupRow{"AnyOther", "other", 0, ""},
                      GroupRow{"PrefixFurtherInside", "xKC_", 0, ""},
                      GroupRow{"VdiFurtherInside", "aVDI", 0, ""},
                      GroupRow{"LowerCase", "vdi", 0, ""}, GroupRow{"HalfAPrefix", "KC", 0, ""}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
