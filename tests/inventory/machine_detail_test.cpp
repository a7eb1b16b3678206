#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/inventory_builders.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <cctype>

namespace {

using namespace kestrelvisor::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const MachineDocument kMachine = aVm(1, "urn:sites:1:hosts:1");

// Reads a machine into a record that was reset before, as the query does.
VM_DETAIL read(const Document& json) {
  VM_DETAIL detail;
  SetDefaultValueForVMDetail(detail);
  KestrelVisor_rest_api api;
  EXPECT_TRUE(api.getVMDetail(json.text(), &detail));
  return detail;
}

Document withDisk(const Document& disk) { return kMachine.with("vmConfig.disks", arrayOf({disk})); }

Document withCard(const Document& card) { return kMachine.with("vmConfig.nics", arrayOf({card})); }

std::vector<std::string> busesOf(const std::list<ST_VDI_INFO>& disks) {
  std::vector<std::string> buses;
  for (const ST_VDI_INFO& disk : disks) buses.push_back(disk.pciType);
  return buses;
}

// Where one key of the answer goes to. Keys of a disk and of a card start with "disk." and "nic.".
template <class Value>
struct KeyRow {
  std::string key;
  std::function<Value(const VM_DETAIL&)> field;
};

template <class Value>
std::string caseName(const ::testing::TestParamInfo<KeyRow<Value>>& row) {
  std::string name;
  for (const char c : row.param.key) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
}

Document withValue(const std::string& key, const Json::Value& value) {
  if (key.starts_with("disk.")) {
    return withDisk(aDisk(1).with("pciType", "SCSI").with(key.substr(5), value));
  }
  if (key.starts_with("nic.")) return withCard(Document().with(key.substr(4), value));
  return kMachine.with(key, value);
}

Document withoutKey(const std::string& key) {
  if (key.starts_with("disk.")) {
    return withDisk(aDisk(1).with("pciType", "SCSI").without(key.substr(5)));
  }
  if (key.starts_with("nic.")) return withCard(Document());
  return kMachine.without(key);
}

const ST_VDI_INFO& disk(const VM_DETAIL& detail) { return detail.vmConfig.scsiDisks.front(); }
const ST_VM_NICS_INFO& card(const VM_DETAIL& detail) { return detail.vmConfig.nics.front(); }

#define KV_FIELD(place) [](const VM_DETAIL& d) { return place; }

// --- Texts. ---

class DetailText : public ::testing::TestWithParam<KeyRow<std::string>> {};

TEST_P(DetailText, IsTaken) {
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, "some text"))), "some text");
}

TEST_P(DetailText, IsEmptyWhenMissingOrNull) {
  EXPECT_EQ(GetParam().field(read(withoutKey(GetParam().key))), "");
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, Json::nullValue))), "");
}

TEST_P(DetailText, ThrowsForAnObject) {
  EXPECT_THROW(read(withValue(GetParam().key, Json::objectValue)), Json::Exception);
}

INSTANTIATE_TEST_SUITE_P(
    MachineDetail, DetailText,
    ::testing::ValuesIn(std::vector<KeyRow<std::string>>{
        {"urn", KV_FIELD(d.urn)},
        {"uri", KV_FIELD(d.uri)},
        {"name", KV_FIELD(d.name)},
        {"description", KV_FIELD(d.description)},
        {"group", KV_FIELD(d.group)},
        {"location", KV_FIELD(d.location)},
        {"locationName", KV_FIELD(d.locationName)},
        {"hostUrn", KV_FIELD(d.hostUrn)},
        {"clusterUrn", KV_FIELD(d.clusterUrn)},
        {"status", KV_FIELD(d.status)},
        {"pvDriverStatus", KV_FIELD(d.pvDriverStatus)},
        {"cdRomStatus", KV_FIELD(d.cdRomStatus)},
        {"toolInstallStatus", KV_FIELD(d.toolInstallStatus)},
        {"createTime", KV_FIELD(d.createTime)},
        {"deleteTime", KV_FIELD(d.deleteTime)},
        {"toolsVersion", KV_FIELD(d.toolsVersion)},
        {"imcSetting", KV_FIELD(d.imcSetting)},
        {"uuid", KV_FIELD(d.uuid)},
        {"params.externalUuid", KV_FIELD(d.externalUuid)},
        {"vncAcessInfo.hostIp", KV_FIELD(d.vncAcessInfo.hostIp)},
        {"osOptions.osType", KV_FIELD(d.osOptions.osType)},
        {"osOptions.hostname", KV_FIELD(d.osOptions.hostname)},
        {"osOptions.guestOSName", KV_FIELD(d.osOptions.guestOSName)},
        {"vmConfig.properties.bootOption", KV_FIELD(d.vmConfig.properties.bootOption)},
        {"vmConfig.properties.vmFaultProcess", KV_FIELD(d.vmConfig.properties.vmFaultProcess)},
        {"vmConfig.properties.clockMode", KV_FIELD(d.vmConfig.properties.clockMode)},
        {"vmConfig.properties.gpuShareType", KV_FIELD(d.vmConfig.properties.gpuShareType)},
        {"vmConfig.properties.bootFirmware", KV_FIELD(d.vmConfig.properties.bootFirmware)},
        {"disk.volumeUrn", KV_FIELD(disk(d).volumeUrn)},
        {"disk.diskName", KV_FIELD(disk(d).diskName)},
        {"disk.datastoreUrn", KV_FIELD(disk(d).datastoreUrn)},
        {"disk.datastoreName", KV_FIELD(disk(d).datastoreName)},
        {"disk.type", KV_FIELD(disk(d).type)},
        {"disk.volumeUuid", KV_FIELD(disk(d).volumeUuid)},
        {"disk.storageType", KV_FIELD(disk(d).storageType)},
        {"disk.ioMode", KV_FIELD(disk(d).ioMode)},
        {"disk.customProperties.external_uuid", KV_FIELD(disk(d).externalUuid)},
        {"nic.name", KV_FIELD(card(d).name)},
        {"nic.urn", KV_FIELD(card(d).urn)},
        {"nic.uri", KV_FIELD(card(d).uri)},
        {"nic.portGroupUrn", KV_FIELD(card(d).portGroupUrn)},
        {"nic.portGroupName", KV_FIELD(card(d).portGroupName)},
        {"nic.mac", KV_FIELD(card(d).mac)},
        {"nic.ip", KV_FIELD(card(d).ip)},
    }),
    caseName<std::string>);

// --- Numbers. ---

class DetailNumber : public ::testing::TestWithParam<KeyRow<std::int64_t>> {};

TEST_P(DetailNumber, IsTaken) {
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, 42))), 42);
}

TEST_P(DetailNumber, IsZeroWhenMissing) {
  EXPECT_EQ(GetParam().field(read(withoutKey(GetParam().key))), 0);
}

TEST_P(DetailNumber, ThrowsForAText) {
  EXPECT_THROW(read(withValue(GetParam().key, "42")), Json::Exception);
}

INSTANTIATE_TEST_SUITE_P(
    MachineDetail, DetailNumber,
    ::testing::ValuesIn(std::vector<KeyRow<std::int64_t>>{
        {"vncAcessInfo.vncPort", KV_FIELD(d.vncAcessInfo.vncPort)},
        {"osOptions.osVersion", KV_FIELD(d.osOptions.osVersion)},
        {"vmConfig.cpu.quantity", KV_FIELD(d.vmConfig.cpu.quantity)},
        {"vmConfig.cpu.reservation", KV_FIELD(d.vmConfig.cpu.reservation)},
        {"vmConfig.cpu.weight", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.cpu.weight))},
        {"vmConfig.cpu.limit", KV_FIELD(d.vmConfig.cpu.limit)},
        {"vmConfig.cpu.cpuHotPlug", KV_FIELD(d.vmConfig.cpu.cpuHotPlug)},
        {"vmConfig.memory.quantityMB",
         KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.quantityMB))},
        {"vmConfig.memory.reservation",
         KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.reservation))},
        {"vmConfig.memory.weight", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.weight))},
        {"vmConfig.memory.limit", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.limit))},
        {"vmConfig.memory.memHotPlug", KV_FIELD(d.vmConfig.memory.memHotPlug)},
        {"disk.sequenceNum", KV_FIELD(disk(d).sequenceNum)},
        {"disk.quantityGB", KV_FIELD(disk(d).quantityGB)},
        {"disk.maxReadBytes", KV_FIELD(disk(d).maxReadBytes)},
        {"disk.maxWriteBytes", KV_FIELD(disk(d).maxWriteBytes)},
        {"disk.maxReadRequest", KV_FIELD(disk(d).maxReadRequest)},
        {"disk.maxWriteRequest", KV_FIELD(disk(d).maxWriteRequest)},
        {"nic.virtIo", KV_FIELD(card(d).virtIo)},
        {"nic.sequenceNum", KV_FIELD(card(d).sequenceNum)},
    }),
    caseName<std::int64_t>);

class DetailSignedNumber : public ::testing::TestWithParam<KeyRow<std::int64_t>> {};

TEST_P(DetailSignedNumber, MayBeNegative) {
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, -3))), -3);
}

INSTANTIATE_TEST_SUITE_P(MachineDetail, DetailSignedNumber,
                         ::testing::ValuesIn(std::vector<KeyRow<std::int64_t>>{
                             {"vncAcessInfo.vncPort", KV_FIELD(d.vncAcessInfo.vncPort)},
                             {"osOptions.osVersion", KV_FIELD(d.osOptions.osVersion)},
                             {"vmConfig.cpu.quantity", KV_FIELD(d.vmConfig.cpu.quantity)},
                             {"vmConfig.cpu.reservation", KV_FIELD(d.vmConfig.cpu.reservation)},
                             {"vmConfig.cpu.limit", KV_FIELD(d.vmConfig.cpu.limit)},
                             {"vmConfig.cpu.cpuHotPlug", KV_FIELD(d.vmConfig.cpu.cpuHotPlug)},
                             {"vmConfig.memory.memHotPlug", KV_FIELD(d.vmConfig.memory.memHotPlug)},
                             {"disk.maxReadBytes", KV_FIELD(disk(d).maxReadBytes)},
                             {"nic.virtIo", KV_FIELD(card(d).virtIo)},
                         }),
                         caseName<std::int64_t>);

class DetailUnsignedNumber : public ::testing::TestWithParam<KeyRow<std::int64_t>> {};

TEST_P(DetailUnsignedNumber, ReachesToTheTopOf32Bits) {
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, Json::UInt{4294967295U}))), 4294967295);
}

TEST_P(DetailUnsignedNumber, ThrowsForANegativeOrTooLargeOne) {
  EXPECT_THROW(read(withValue(GetParam().key, -1)), Json::Exception);
  EXPECT_THROW(read(withValue(GetParam().key, Json::UInt64{4294967296U})), Json::Exception);
}

INSTANTIATE_TEST_SUITE_P(
    MachineDetail, DetailUnsignedNumber,
    ::testing::ValuesIn(std::vector<KeyRow<std::int64_t>>{
        {"vmConfig.cpu.weight", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.cpu.weight))},
        {"vmConfig.memory.quantityMB",
         KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.quantityMB))},
        {"vmConfig.memory.reservation",
         KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.reservation))},
        {"vmConfig.memory.weight", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.weight))},
        {"vmConfig.memory.limit", KV_FIELD(static_cast<std::int64_t>(d.vmConfig.memory.limit))},
        {"disk.sequenceNum", KV_FIELD(disk(d).sequenceNum)},
        {"disk.quantityGB", KV_FIELD(disk(d).quantityGB)},
    }),
    caseName<std::int64_t>);

// --- Flags, also those that are kept as 0 and 1. ---

class DetailFlag : public ::testing::TestWithParam<KeyRow<bool>> {};

TEST_P(DetailFlag, IsTaken) {
  EXPECT_TRUE(GetParam().field(read(withValue(GetParam().key, true))));
  EXPECT_FALSE(GetParam().field(read(withValue(GetParam().key, false))));
}

TEST_P(DetailFlag, IsFalseWhenMissing) {
  EXPECT_FALSE(GetParam().field(read(withoutKey(GetParam().key))));
}

TEST_P(DetailFlag, ThrowsForAText) {
  EXPECT_THROW(read(withValue(GetParam().key, "true")), Json::Exception);
}

INSTANTIATE_TEST_SUITE_P(
    MachineDetail, DetailFlag,
    ::testing::ValuesIn(std::vector<KeyRow<bool>>{
        {"isTemplate", KV_FIELD(d.isTemplate)},
        {"isLinkClone", KV_FIELD(d.isLinkClone)},
        {"fileMode", KV_FIELD(d.fileMode)},
        {"isBindingHost", KV_FIELD(d.isBindingHost)},
        {"vmConfig.properties.isEnableHa", KV_FIELD(d.vmConfig.properties.isEnableHa)},
        {"vmConfig.properties.reoverByHost", KV_FIELD(d.vmConfig.properties.reoverByHost)},
        {"vmConfig.properties.isEnableMemVol", KV_FIELD(d.vmConfig.properties.isEnableMemVol)},
        {"vmConfig.properties.isEnableFt", KV_FIELD(d.vmConfig.properties.isEnableFt)},
        {"vmConfig.properties.attachType", KV_FIELD(d.vmConfig.properties.attachType == 1)},
        {"vmConfig.properties.isReserveResource",
         KV_FIELD(d.vmConfig.properties.isReserveResource == 1)},
        {"disk.isThin", KV_FIELD(disk(d).isThin)},
        {"disk.isDataCopy", KV_FIELD(disk(d).isDataCopy)},
        {"disk.indepDisk", KV_FIELD(disk(d).indepDisk)},
        {"disk.persistentDisk", KV_FIELD(disk(d).persistentDisk)},
    }),
    caseName<bool>);

TEST(MachineDetail, SetsAttachTypeAndReservationToZeroWhenMissing) {
  const VM_DETAIL detail = read(kMachine);
  EXPECT_EQ(detail.vmConfig.properties.attachType, 0);
  EXPECT_EQ(detail.vmConfig.properties.isReserveResource, 0);
}

// --- Keys that only an integer or a flag fills. ---

class DetailOptionalInteger : public ::testing::TestWithParam<KeyRow<std::int64_t>> {};

TEST_P(DetailOptionalInteger, IsTaken) {
  EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, 3))), 3);
}

TEST_P(DetailOptionalInteger, IsNotReportedWhenItIsNoInteger) {
  const std::int64_t absent = GetParam().field(read(withoutKey(GetParam().key)));
  for (const Json::Value& value : {Json::Value("3"), Json::Value(true), Json::Value(3.5),
                                   Json::Value(Json::arrayValue), Json::Value()}) {
    EXPECT_EQ(GetParam().field(read(withValue(GetParam().key, value))), absent);
  }
}

INSTANTIATE_TEST_SUITE_P(MachineDetail, DetailOptionalInteger,
                         ::testing::ValuesIn(std::vector<KeyRow<std::int64_t>>{
                             {"vmConfig.properties.cdRomBootOrder",
                              KV_FIELD(d.vmConfig.properties.cdRomBootOrder)},
                             {"disk.volType", KV_FIELD(disk(d).volType)},
                             {"disk.bootOrder", KV_FIELD(disk(d).bootOrder)},
                             {"nic.bootOrder", KV_FIELD(card(d).bootOrder)},
                         }),
                         caseName<std::int64_t>);

TEST(MachineDetail, KeepsTheDefaultsOfIntegersThatTheManagerDoesNotTell) {
  const VM_DETAIL detail =
      read(kMachine.with("vmConfig.disks", arrayOf({aDisk(1).with("pciType", "SCSI")}))
               .with("vmConfig.nics", arrayOf({Document()})));
  EXPECT_EQ(detail.vmConfig.properties.cdRomBootOrder, -1);
  EXPECT_EQ(disk(detail).volType, 0);
  EXPECT_EQ(disk(detail).bootOrder, -1);
  EXPECT_EQ(card(detail).bootOrder, -1);
}

TEST(MachineDetail, LogsTheBootOrdersThatItTakes) {
  const LogCapture log;
  read(kMachine.with("vmConfig.properties.cdRomBootOrder", 1)
           .with("vmConfig.disks", arrayOf({aDisk(1).with("bootOrder", 2)}))
           .with("vmConfig.nics", arrayOf({Document().with("bootOrder", 3)})));

  std::vector<std::pair<std::string, std::string>> lines;
  for (const auto& record : log.records()) {
    EXPECT_EQ(record.level, 1);
    EXPECT_EQ(record.tag, "KestrelVisorEngine");
    lines.emplace_back(record.function, record.text);
  }
  const std::string diskLine = "Disk[" + volumeUuid(1) + "] bootOrder is: 2";
  // Each disk is read once for either list.
  EXPECT_THAT(
      lines,
      ElementsAre(std::pair("KestrelVisor_rest_api::getVMDetail()", "cdRomBootOrder: 1"),
                  std::pair("SetVDIInfoSub()", diskLine), std::pair("SetVDIInfoSub()", diskLine),
                  std::pair("FillNICSInfoInVMDetail()", "NIC bootOrder is: 3")));
}

TEST(MachineDetail, LogsNothingForACdRomBootOrderOfText) {
  const LogCapture log;
  read(kMachine.with("vmConfig.properties.cdRomBootOrder", "1"));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MachineDetail, UpgradesItselfUnlessTheManagerSaysNo) {
  const std::string key = "vmConfig.properties.isAutoUpgrade";
  const auto upgrades = [](const Document& json) {
    return read(json).vmConfig.properties.isAutoUpgrade;
  };
  EXPECT_TRUE(upgrades(kMachine));
  EXPECT_TRUE(upgrades(kMachine.with(key, "false")));
  EXPECT_TRUE(upgrades(kMachine.with(key, 0)));
  EXPECT_TRUE(upgrades(kMachine.with(key, true)));
  EXPECT_FALSE(upgrades(kMachine.with(key, false)));
}

// --- Disks. ---

TEST(MachineDetail, SortsDisksIntoTwoListsByTheirBus) {
  Documents disks;
  for (const char* const bus : {"IDE", "VIRTIO", "SCSI", "scsi", "ide", "SATA", ""}) {
    disks.push_back(aDisk(1).with("pciType", bus));
  }
  disks.push_back(aDisk(1).without("pciType"));

  const VM_DETAIL detail = read(kMachine.with("vmConfig.disks", arrayOf(disks)));

  EXPECT_THAT(busesOf(detail.vmConfig.disks), ElementsAre("IDE", "VIRTIO", "SCSI"));
  EXPECT_THAT(busesOf(detail.vmConfig.scsiDisks), ElementsAre("SCSI", "scsi"));
}

TEST(MachineDetail, HasNoDisksForAnEmptyArray) {
  const VM_DETAIL detail = read(kMachine.with("vmConfig.disks", Json::arrayValue));
  EXPECT_THAT(detail.vmConfig.disks, IsEmpty());
  EXPECT_THAT(detail.vmConfig.scsiDisks, IsEmpty());
}

TEST(MachineDetail, GivesEveryDiskItsMachinesUrn) {
  const VM_DETAIL detail = read(withDisk(aDisk(1).with("pciType", "SCSI")));
  EXPECT_EQ(detail.vmConfig.disks.front().vmUrn, "urn:sites:1:vms:1");
  EXPECT_EQ(detail.vmConfig.scsiDisks.front().vmUrn, "urn:sites:1:vms:1");
}

TEST(MachineDetail, ReplacesAllListsButAddsToTheScsiDisks) {
  const Document json = withDisk(aDisk(1).with("pciType", "SCSI"))
                            .with("vmConfig.nics", arrayOf({Document()}))
                            .with("vmConfig.usb", arrayOf({Document()}))
                            .with("securityGroupSet", arrayOf({Document()}))
                            .with("dataStoreUrns", "");
  VM_DETAIL detail = read(json.without("dataStoreUrns"));
  detail.dataStoreUrns = {"before"};
  KestrelVisor_rest_api api;

  ASSERT_TRUE(api.getVMDetail(json.without("dataStoreUrns").text(), &detail));

  EXPECT_EQ(detail.vmConfig.disks.size(), 1U);
  EXPECT_EQ(detail.vmConfig.scsiDisks.size(), 2U);
  EXPECT_EQ(detail.vmConfig.nics.size(), 1U);
  EXPECT_EQ(detail.vmConfig.usb.size(), 1U);
  EXPECT_EQ(detail.securityGroupSet.size(), 1U);
  EXPECT_THAT(detail.dataStoreUrns, IsEmpty());
}

TEST(MachineDetail, TellsSystemVolumesByZeroOthersByOneAndUnknownByTwo) {
  const auto systemVolume = [](const Document& disk) {
    return read(withDisk(disk)).vmConfig.disks.front().systemVolume;
  };
  EXPECT_EQ(systemVolume(aDisk(1).with("systemVolume", true)), 0);
  EXPECT_EQ(systemVolume(aDisk(1).with("systemVolume", false)), 1);
  EXPECT_EQ(systemVolume(aDisk(1).with("systemVolume", Json::nullValue)), 1);
  EXPECT_EQ(systemVolume(aDisk(1)), 2);
  EXPECT_THROW(systemVolume(aDisk(1).with("systemVolume", "true")), Json::Exception);
}

TEST(MachineDetail, TakesAStorageProtocolThatIsATextOrAnInteger) {
  const auto protocol = [](const Json::Value& value) {
    const Document disk = aDisk(1).with("storageProtocol", value);
    return read(withDisk(disk)).vmConfig.disks.front().storageProtocol;
  };
  EXPECT_EQ(protocol("iSCSI"), "iSCSI");
  EXPECT_EQ(protocol(1), "1");
  EXPECT_EQ(protocol(true), "None");
  EXPECT_EQ(protocol(1.5), "None");
  EXPECT_EQ(protocol(Json::objectValue), "None");
  EXPECT_EQ(read(withDisk(aDisk(1))).vmConfig.disks.front().storageProtocol, "None");
}

TEST(MachineDetail, LogsATakenStorageProtocolTwiceAndAnIgnoredOneNever) {
  LogCapture log;
  read(withDisk(aDisk(1).with("storageProtocol", 1)));
  EXPECT_THAT(log.texts(2), ElementsAre("Nof storageProtocol = 1", "Nof storageProtocol = 1"));
  log.clear();
  read(withDisk(aDisk(1).with("storageProtocol", true)));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MachineDetail, EmptiesTheExternalIdentifierOfADiskThatTellsNone) {
  for (const Json::Value& properties : {Json::Value(), Json::Value(Json::objectValue)}) {
    const Document disk = aDisk(1).with("customProperties", properties);
    EXPECT_EQ(read(withDisk(disk)).vmConfig.disks.front().externalUuid, "");
  }
}

// --- Other lists. ---

TEST(MachineDetail, TakesTheFirstGpuAndKeepsTheOldOneWhenThereIsNone) {
  const VM_DETAIL detail = read(kMachine.with(
      "vmConfig.gpu", arrayOf({Document().with("gpuUrn", "a"), Document().with("gpuUrn", "b")})));
  EXPECT_EQ(detail.vmConfig.gpuUrn, "a");

  VM_DETAIL old;
  old.vmConfig.gpuUrn = "before";
  KestrelVisor_rest_api api;
  ASSERT_TRUE(api.getVMDetail(kMachine.with("vmConfig.gpu", Json::arrayValue).text(), &old));
  EXPECT_EQ(old.vmConfig.gpuUrn, "before");
}

TEST(MachineDetail, TakesSecurityGroupsUsbControllersAndDatastores) {
  Json::Value urns(Json::arrayValue);
  urns.append("d1");
  urns.append("d2");
  const VM_DETAIL detail =
      read(kMachine.with("dataStoreUrns", urns)
               .with("securityGroupSet", arrayOf({Document().with("groupId", "g1"), Document()}))
               .with("vmConfig.usb", arrayOf({Document().with("controllerType", "EHCI+UHCI")})));

  EXPECT_THAT(detail.dataStoreUrns, ElementsAre("d1", "d2"));
  EXPECT_THAT(detail.securityGroupSet, ElementsAre("g1", ""));
  ASSERT_EQ(detail.vmConfig.usb.size(), 1U);
  EXPECT_EQ(detail.vmConfig.usb.front().controllerType, "EHCI+UHCI");
  EXPECT_THAT(detail.vmConfig.usb.front().devices, IsEmpty());
}

TEST(MachineDetail, FillsNothingThatNoKeyNames) {
  const VM_DETAIL detail = read(kMachine.with("vncAcessInfo.vncExtra", "x")
                                    .with("osOptions.osExtra", "x")
                                    .with("vncAccessInfo.hostIp", "x")
                                    .with("vmConfig.properties.recoverByHost", true));
  EXPECT_EQ(detail.vncAcessInfo.vncExtra, "");
  EXPECT_EQ(detail.osOptions.osExtra, "");
  EXPECT_EQ(detail.vncAcessInfo.hostIp, "");
  EXPECT_FALSE(detail.vmConfig.properties.reoverByHost);
}

// --- Whole texts. ---

TEST(MachineDetail, LeavesTheRecordAloneWithoutALineWhenTheTextCannotBeRead) {
  const LogCapture log;
  KestrelVisor_rest_api api;
  VM_DETAIL detail;
  detail.name = "before";
  detail.vmConfig.disks.emplace_back();

  EXPECT_FALSE(api.getVMDetail("{", &detail));

  EXPECT_EQ(detail.name, "before");
  EXPECT_EQ(detail.vmConfig.disks.size(), 1U);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MachineDetail, TakesADocumentThatIsNoObjectAsOneWithoutKeys) {
  KestrelVisor_rest_api api;
  for (const char* const json : {"null", "[1]", "\"text\"", "7"}) {
    VM_DETAIL detail;
    detail.name = "before";
    EXPECT_TRUE(api.getVMDetail(json, &detail));
    EXPECT_EQ(detail.name, "");
  }
}

TEST(MachineDetail, ThrowsForAnInnerObjectOfTheWrongType) {
  for (const char* const key : {"vncAcessInfo", "osOptions", "vmConfig", "vmConfig.cpu",
                                "vmConfig.memory", "vmConfig.properties", "params"}) {
    EXPECT_THROW(read(kMachine.with(key, "text")), Json::Exception) << key;
  }
}

}  // namespace
