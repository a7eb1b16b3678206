#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <boost/uuid/string_generator.hpp>

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

ST_VDI_INFO usualDisk() {
  ST_VDI_INFO disk;
  disk.volumeUuid = volumeUuid(1);
  disk.volumeUrn = "urn:v";
  disk.pciType = "VIRTIO";
  disk.quantityGB = 2;
  return disk;
}

class Projection : public ::testing::Test {
 protected:
  Projection() {
    machine_.uuid = machineUuid(1);
    machine_.urn = "urn:sites:1:vms:1";
  }
  bool project() { return api_.getTreeViewVMInfoFromVrm(machine_, view_, error_); }
  // Projects a machine with one disk and returns what became of it.
  std::vector<DiskInfoForTreeView> project(const ST_VDI_INFO& disk) {
    machine_.vmConfig.disks = {disk};
    EXPECT_TRUE(project());
    return view_.disks;
  }

  LogCapture log_;
  VM_DETAIL machine_;
  VMInfoForTreeView view_;
  KestrelVisorErrorMessage error_;
  KestrelVisor_rest_api api_;
};

TEST_F(Projection, TakesTheFactsOfTheMachine) {
  machine_.uri = "/service/sites/1/vms/1";
  machine_.group = "VDI";
  machine_.osOptions.osType = "Linux";
  machine_.osOptions.osVersion = 12;

  ASSERT_TRUE(project());

  EXPECT_EQ(view_.osType, "Linux");
  EXPECT_EQ(view_.osVersion, 12);
  EXPECT_EQ(view_.uri, "/service/sites/1/vms/1");
  EXPECT_EQ(view_.uuid, machineUuid(1));
  EXPECT_EQ(view_.uuidValue, boost::uuids::string_generator()(machineUuid(1)));
  EXPECT_EQ(view_.group, "VDI");
}

TEST_F(Projection, TakesTheFactsOfADisk) {
  ST_VDI_INFO disk = usualDisk();
  disk.diskName = "root";
  disk.sequenceNum = 3;
  disk.datastoreUrn = "urn:d";
  disk.externalUuid = "ext";

  ASSERT_EQ(project(disk).size(), 1U);

  const DiskInfoForTreeView& projected = view_.disks[0];
  EXPECT_EQ(projected.uuid, volumeUuid(1));
  EXPECT_EQ(projected.diskName, "root");
  EXPECT_EQ(projected.sequenceNum, 3);
  EXPECT_EQ(projected.busType, 5);
  EXPECT_EQ(projected.size, 2097152);
  EXPECT_EQ(projected.datastoreUrn, "urn:d");
  EXPECT_EQ(projected.externalUuid, "ext");
  EXPECT_EQ(projected.reservedWord1, 0U);
  EXPECT_EQ(projected.reservedWord2, 0U);
}

TEST_F(Projection, NumbersTheBuses) {
  std::vector<int> buses;
  for (const char* const bus : {"IDE", "SCSI", "VIRTIO"}) {
    ST_VDI_INFO disk = usualDisk();
    disk.pciType = bus;
    buses.push_back(project(disk).at(0).busType);
  }
  EXPECT_THAT(buses, ElementsAre(1, 2, 5));
}

TEST_F(Projection, CountsAndAddsUpTheDisksThatStay) {
  ST_VDI_INFO independent = usualDisk();
  independent.indepDisk = true;
  machine_.vmConfig.disks = {usualDisk(), independent, usualDisk()};
  ASSERT_TRUE(project());
  EXPECT_EQ(view_.diskCount, 2U);
  EXPECT_EQ(view_.totalSize, 4194304U);
}

TEST_F(Projection, DoesNotLookAtTheSecondListOfDisks) {
  machine_.vmConfig.scsiDisks = {usualDisk()};
  ASSERT_TRUE(project());
  EXPECT_THAT(view_.disks, IsEmpty());
}

TEST_F(Projection, OfAMachineWithoutDisksHoldsZeroes) {
  ASSERT_TRUE(project());
  EXPECT_EQ(view_.diskCount, 0U);
  EXPECT_EQ(view_.totalSize, 0U);
}

// Sizes and numbers are taken as signed 32-bit numbers, and a product needs 64 bits.
TEST_F(Projection, WidensSizesAndSequenceNumbersWithTheirSign) {
  ST_VDI_INFO disk = usualDisk();
  disk.quantityGB = 2147483647;
  EXPECT_EQ(project(disk).at(0).size, 2251799812636672);
  disk.quantityGB = 4294967295U;
  disk.sequenceNum = 4294967294U;
  EXPECT_EQ(project(disk).at(0).size, -1048576);
  EXPECT_EQ(view_.disks[0].sequenceNum, -2);
  EXPECT_EQ(view_.totalSize, 18446744073708503040U);
}

struct SkipRow {
  const char* name;
  std::function<void(ST_VDI_INFO&)> spoil;
  std::string tail;  // of the line, behind the uuid
};
class SkippedDisk : public Projection, public ::testing::WithParamInterface<SkipRow> {};

TEST_P(SkippedDisk, LeavesOneLineAndNoDisk) {
  ST_VDI_INFO disk = usualDisk();
  GetParam().spoil(disk);

  EXPECT_THAT(project(disk), IsEmpty());

  EXPECT_EQ(view_.diskCount, 0U);
  EXPECT_EQ(view_.totalSize, 0U);
  const std::string line = "skip disk,The uuid[" + disk.volumeUuid +
                           "] of volume[urn:v] is invalid ! disk type is :" + GetParam().tail;
  EXPECT_THAT(log_.texts(3), ElementsAre(line));
}

INSTANTIATE_TEST_SUITE_P(
    Projection, SkippedDisk,
    ::testing::Values(SkipRow{"ForAnInvalidUuid", [](ST_VDI_INFO& d) { d.volumeUuid = "no"; },
                              "VIRTIO disk mode is:0, storageProtocol:None"},
                      SkipRow{"ForAnEmptyUuid", [](ST_VDI_INFO& d) { d.volumeUuid.clear(); },
                              "VIRTIO disk mode is:0, storageProtocol:None"},
                      SkipRow{"ForIndependence", [](ST_VDI_INFO& d) { d.indepDisk = true; },
                              "VIRTIO disk mode is:1, storageProtocol:None"},
                      SkipRow{"ForItsStorageProtocol",
                              [](ST_VDI_INFO& d) { d.storageProtocol = "1"; },
                              "VIRTIO disk mode is:0, storageProtocol:1"},
                      SkipRow{"ForALowerCaseBus", [](ST_VDI_INFO& d) { d.pciType = "scsi"; },
                              "scsi disk mode is:0, storageProtocol:None"},
                      SkipRow{"ForAnUnknownBus", [](ST_VDI_INFO& d) { d.pciType = "notexit"; },
                              "notexit disk mode is:0, storageProtocol:None"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Projection, KeepsADiskOfAnyOtherStorageProtocol) {
  for (const char* const protocol : {"None", "", "0", "2", "11", "true"}) {
    ST_VDI_INFO disk = usualDisk();
    disk.storageProtocol = protocol;
    EXPECT_EQ(project(disk).size(), 1U) << protocol;
  }
}

TEST_F(Projection, WritesAUuidInCanonicalFormWhateverItsSpelling) {
  const std::string canonical = "0123abcd-4567-89ef-0123-456789abcdef";
  for (const char* const spelling :
       {"0123ABCD-4567-89EF-0123-456789ABCDEF", "{0123abcd-4567-89ef-0123-456789abcdef}",
        "0123abcd456789ef0123456789abcdef", "{0123ABCD456789EF0123456789ABCDEF}"}) {
    ST_VDI_INFO disk = usualDisk();
    disk.volumeUuid = spelling;
    EXPECT_EQ(project(disk).at(0).uuid, canonical) << spelling;
  }
}

TEST(UuidCheck, RefusesWhatTheParserRefuses) {
  KestrelVisor_rest_api api;
  for (const char* const text :
       {"", "no", "0123abcd-4567-89ef-0123-456789abcde", "0123abcd-4567-89ef-0123-456789abcdeg",
        "{0123abcd-4567-89ef-0123-456789abcdef", "0123abcd-456789ef-0123-456789abcdef"}) {
    EXPECT_FALSE(api.checkUUID(text)) << text;
  }
  EXPECT_TRUE(api.checkUUID("0123abcd-4567-89ef-0123-456789abcdef"));
}

TEST_F(Projection, FailsAndIsUnfilledForAMachineWithoutAValidUuid) {
  machine_.uuid = "no";
  machine_.group = "VDI";
  machine_.vmConfig.disks = {usualDisk()};
  view_.disks.emplace_back();
  view_.uri = "before";

  EXPECT_FALSE(project());

  EXPECT_EQ(view_.diskCount, 999999999U);
  EXPECT_EQ(view_.totalSize, 999999999U);
  EXPECT_EQ(view_.uri, "");
  EXPECT_EQ(view_.group, "");
  EXPECT_THAT(view_.disks, IsEmpty());
  EXPECT_THAT(log_.texts(), ElementsAre("The uuid[no] of VM[urn:sites:1:vms:1] is invalid !"));
  EXPECT_EQ(log_.records()[0].level, 3);
}

TEST_F(Projection, WritesNoErrorRecord) {
  error_.errorCode = "before";
  machine_.uuid = "no";
  EXPECT_FALSE(project());
  EXPECT_EQ(error_.errorCode, "before");
}

TEST_F(Projection, TakesTheHostOrElseTheLocationAsAUrn) {
  machine_.hostUrn = "/service/sites/1/hosts/1";
  machine_.location = "urn:sites:1:clusters:1";
  ASSERT_TRUE(project());
  EXPECT_EQ(view_.hostUrn, "urn:sites:1:hosts:1");

  machine_.hostUrn.clear();
  ASSERT_TRUE(project());
  EXPECT_EQ(view_.hostUrn, "urn:sites:1:clusters:1");

  machine_.location.clear();
  ASSERT_TRUE(project());
  EXPECT_EQ(view_.hostUrn, "");
}

TEST_F(Projection, LogsPlaceAndStatus) {
  machine_.location = "L";
  machine_.hostUrn = "H";
  machine_.status = "running";
  ASSERT_TRUE(project());
  EXPECT_TRUE(log_.has(0, "location_ref:L host_name:H status:running"));
  EXPECT_EQ(log_.records()[0].function, "KestrelVisor_rest_api::getTreeViewVMInfoFromVrm()");
}

}  // namespace
