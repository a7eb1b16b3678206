#include "inventory/inventory_records.h"

#include "tests/support/test_headers.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <type_traits>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// Whether the fields of one record stand one behind the other in memory as they are listed.
template <class... Fields>
bool standInOrder(const Fields&... fields) {
  const std::array<const void*, sizeof...(fields)> places{static_cast<const void*>(&fields)...};
  return std::is_sorted(places.begin(), places.end(), std::less<>());
}

// All fields of a record in declared order. The bindings fail to compile when one is missing.
auto fieldsOf(const ST_VNC_ACCESS_INFO& record) {
  const auto& [hostIp, vncPort, vncExtra] = record;
  return std::tie(hostIp, vncPort, vncExtra);
}

auto fieldsOf(const ST_VM_OS_INFO& record) {
  const auto& [osType, hostname, osExtra, osVersion, guestOSName] = record;
  return std::tie(osType, hostname, osExtra, osVersion, guestOSName);
}

auto fieldsOf(const ST_VM_CPU_INFO& record) {
  const auto& [quantity, reservation, weight, limit, cpuHotPlug] = record;
  return std::tie(quantity, reservation, weight, limit, cpuHotPlug);
}

auto fieldsOf(const ST_VM_MEMORY_INFO& record) {
  const auto& [quantityMB, reservation, weight, limit, memHotPlug] = record;
  return std::tie(quantityMB, reservation, weight, limit, memHotPlug);
}

auto fieldsOf(const ST_VM_PROPERTIES_INFO& record) {
  const auto& [bootOption, vmFaultProcess, clockMode, isAutoUpgrade, isEnableHa, reoverByHost,
               isEnableMemVol, isEnableFt, attachType, gpuShareType, isReserveResource,
               bootFirmware, cdRomBootOrder] = record;
  return std::tie(bootOption, vmFaultProcess, clockMode, isAutoUpgrade, isEnableHa, reoverByHost,
                  isEnableMemVol, isEnableFt, attachType, gpuShareType, isReserveResource,
                  bootFirmware, cdRomBootOrder);
}

auto fieldsOf(const ST_VDI_INFO& record) {
  const auto& [volumeUrn, diskName, datastoreUrn, datastoreName, vmUrn, sequenceNum, quantityGB,
               isThin, isDataCopy, type, volumeUuid, storageType, indepDisk, persistentDisk,
               volType, pciType, maxReadBytes, maxWriteBytes, maxReadRequest, maxWriteRequest,
               externalUuid, systemVolume, ioMode, bootOrder, storageProtocol] = record;
  return std::tie(volumeUrn, diskName, datastoreUrn, datastoreName, vmUrn, sequenceNum, quantityGB,
                  isThin, isDataCopy, type, volumeUuid, storageType, indepDisk, persistentDisk,
                  volType, pciType, maxReadBytes, maxWriteBytes, maxReadRequest, maxWriteRequest,
                  externalUuid, systemVolume, ioMode, bootOrder, storageProtocol);
}

auto fieldsOf(const ST_VM_NICS_INFO& record) {
  const auto& [name, urn, uri, portGroupUrn, portGroupName, mac, ip, virtIo, sequenceNum,
               bootOrder] = record;
  return std::tie(name, urn, uri, portGroupUrn, portGroupName, mac, ip, virtIo, sequenceNum,
                  bootOrder);
}

auto fieldsOf(const DataStoreInfoForTreeView& record) {
  const auto& [text1, text2, text3, text4] = record;
  return std::tie(text1, text2, text3, text4);
}

auto fieldsOf(const DiskInfoForTreeView& disk) {
  return std::tie(disk.uuid, disk.diskName, disk.sequenceNum, disk.busType, disk.size,
                  disk.datastoreUrn, disk.reservedWord1, disk.reservedWord2, disk.externalUuid);
}

// Records whose every field differs from its default.
const ST_VNC_ACCESS_INFO kDirtyVnc{"ip", 5900, "extra"};
const ST_VM_OS_INFO kDirtyOs{"Linux", "host", "extra", 12, "guest"};
const ST_VM_CPU_INFO kDirtyCpu{1, 2, 3, 4, 5};
const ST_VM_MEMORY_INFO kDirtyMemory{1, 2, 3, 4, 5};
const ST_VM_PROPERTIES_INFO kDirtyProperties{"boot", "fault", "clock", true, true,   true, true,
                                             true,   1,       "share", 1,    "UEFI", 4};
const ST_VDI_INFO kDirtyDisk{
    "volume",  "disk", "store", "store name", "vm", 1, 2, true, true,  "type", "uuid", "kind",
    true,      true,   3,       "IDE",        4,    5, 6, 7,    "ext", 1,      "io",   8,
    "protocol"};

// --- Defaults of new records. ---

TEST(InventoryRecord, OfVncAccessStartsEmpty) {
  EXPECT_EQ(fieldsOf(ST_VNC_ACCESS_INFO()), fieldsOf(ST_VNC_ACCESS_INFO{"", 0, ""}));
}

TEST(InventoryRecord, OfGuestSystemStartsEmpty) {
  EXPECT_EQ(fieldsOf(ST_VM_OS_INFO()), fieldsOf(ST_VM_OS_INFO{"", "", "", 0, ""}));
}

TEST(InventoryRecord, OfCpuAndMemoryStartsZeroed) {
  EXPECT_EQ(fieldsOf(ST_VM_CPU_INFO()), fieldsOf(ST_VM_CPU_INFO{0, 0, 0, 0, 0}));
  EXPECT_EQ(fieldsOf(ST_VM_MEMORY_INFO()), fieldsOf(ST_VM_MEMORY_INFO{0, 0, 0, 0, 0}));
}

// The boot order of the CD drive must not look like one that the manager reported.
TEST(InventoryRecord, OfPropertiesStartsWithItsDefaultsAndADefiniteCdRomBootOrder) {
  EXPECT_EQ(fieldsOf(ST_VM_PROPERTIES_INFO()),
            fieldsOf(ST_VM_PROPERTIES_INFO{"", "", "", false, false, false, false, false, -1,
                                           "notexit", -1, "", -1}));
}

TEST(InventoryRecord, OfDiskStartsWithTheDefaultsOfItsReset) {
  EXPECT_EQ(
      fieldsOf(ST_VDI_INFO()),
      fieldsOf(ST_VDI_INFO{"",    "", "",        "", "", 0,  0,  false, false, "", "", "",    false,
                           false, 0,  "notexit", -1, -1, -1, -1, "",    2,     "", -1, "None"}));
}

TEST(InventoryRecord, OfNetworkCardStartsEmptyWithoutABootOrder) {
  EXPECT_EQ(fieldsOf(ST_VM_NICS_INFO()),
            fieldsOf(ST_VM_NICS_INFO{"", "", "", "", "", "", "", 0, 0, -1}));
}

TEST(InventoryRecord, OfClusterStartsAsX86OfNoKind) {
  const CLUSTER_INFO cluster;

  EXPECT_EQ(cluster.type, 1000);
  EXPECT_EQ(cluster.arch, "x86");
  for (const std::string* text :
       {&cluster.urn, &cluster.uri, &cluster.name, &cluster.description, &cluster.vrmUrn,
        &cluster.vrmName, &cluster.vrmIp, &cluster.cpuVendor}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_THAT(cluster.datastores, IsEmpty());
}

TEST(InventoryRecord, OfHostStartsAsX86WithoutCpus) {
  const CNA_INFO host;

  EXPECT_EQ(host.type, 1000);
  EXPECT_EQ(host.arch, "x86");
  EXPECT_EQ(host.cpuNumber, 0);
  for (const std::string* text :
       {&host.urn, &host.uri, &host.ip, &host.name, &host.description, &host.clusterUrn,
        &host.clusterName, &host.vrmUrn, &host.vrmName, &host.vrmIp, &host.cpuVendor}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_THAT(host.datastores, IsEmpty());
}

TEST(InventoryRecord, OfDatastoreStartsZeroed) {
  const ST_DATASTORE_INFO datastore;

  EXPECT_EQ(datastore.storageType, 0);
  EXPECT_EQ(datastore.actualCapacityGB, 0U);
  EXPECT_EQ(datastore.actualFreeSizeGB, 0U);
  for (const std::string* text :
       {&datastore.urn, &datastore.uri, &datastore.name, &datastore.hosts, &datastore.extra1,
        &datastore.extra2, &datastore.extra3, &datastore.extra4, &datastore.extra5,
        &datastore.extra6, &datastore.suUrn, &datastore.version}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_THAT(datastore.storageUnits, IsEmpty());
}

TEST(InventoryRecord, OfProjectedDiskStartsWithItsDefaults) {
  const DiskInfoForTreeView disk;

  EXPECT_EQ(fieldsOf(disk), std::make_tuple("", "", std::int64_t{0}, 1000, std::int64_t{0}, "",
                                            std::uint64_t{0}, std::uint64_t{0}, ""));
}

TEST(InventoryRecord, OfProjectedMachineStartsUnfilled) {
  const VMInfoForTreeView view;

  EXPECT_EQ(view.diskCount, 999999999U);
  EXPECT_EQ(view.totalSize, 999999999U);
  EXPECT_EQ(view.osVersion, 0);
  EXPECT_TRUE(view.uuidValue.is_nil());
  EXPECT_THAT(view.disks, IsEmpty());
  EXPECT_THAT(view.reservedList, IsEmpty());
  for (const std::string* text :
       {&view.osType, &view.reservedText1, &view.reservedText2, &view.reservedText3, &view.uri,
        &view.uuid, &view.group, &view.hostUrn}) {
    EXPECT_EQ(*text, "");
  }
}

TEST(InventoryRecord, KindsOfStorageHaveTheirNumbers) {
  EXPECT_EQ(EN_DATASTORAGE_TYPE_VIRTUAL, 0);
  EXPECT_EQ(EN_DATASTORAGE_TYPE_QSTORE, 1);
  EXPECT_EQ(EN_DATASTORAGE_TYPE_ADVANCE_SAN, 2);
  EXPECT_EQ(EN_DATASTORAGE_TYPE_NOT_SUPPORT, 3);
  EXPECT_EQ(sizeof(EN_DATASTORAGE_TYPE), 4U);
}

// --- Resets. ---

TEST(InventoryReset, OfVncAccessClearsEveryField) {
  ST_VNC_ACCESS_INFO vnc = kDirtyVnc;
  SetDefaultValueForVncAccessInfo(vnc);
  EXPECT_EQ(fieldsOf(vnc), fieldsOf(ST_VNC_ACCESS_INFO{"", 0, ""}));
}

TEST(InventoryReset, OfGuestSystemClearsEveryField) {
  ST_VM_OS_INFO os = kDirtyOs;
  SetDefaultValueForVMOSInfo(os);
  EXPECT_EQ(fieldsOf(os), fieldsOf(ST_VM_OS_INFO{"", "", "", 0, ""}));
}

TEST(InventoryReset, OfCpuZeroesEveryField) {
  ST_VM_CPU_INFO cpu = kDirtyCpu;
  SetDefaultValueForVMCPUInfo(cpu);
  EXPECT_EQ(fieldsOf(cpu), fieldsOf(ST_VM_CPU_INFO{0, 0, 0, 0, 0}));
}

TEST(InventoryReset, OfMemoryZeroesEveryField) {
  ST_VM_MEMORY_INFO memory = kDirtyMemory;
  SetDefaultValueForVMMemoryInfo(memory);
  EXPECT_EQ(fieldsOf(memory), fieldsOf(ST_VM_MEMORY_INFO{0, 0, 0, 0, 0}));
}

TEST(InventoryReset, OfPropertiesKeepsBootFirmwareAndCdRomBootOrder) {
  ST_VM_PROPERTIES_INFO properties = kDirtyProperties;
  SetDefaultValueForVMPropertiesInfo(properties);
  EXPECT_EQ(fieldsOf(properties),
            fieldsOf(ST_VM_PROPERTIES_INFO{"", "", "", false, false, false, false, false, -1,
                                           "notexit", -1, "UEFI", 4}));
}

TEST(InventoryReset, OfDiskKeepsItsVolumeUrn) {
  ST_VDI_INFO disk = kDirtyDisk;
  SetDefaultValueForVDIInfo(disk);
  EXPECT_EQ(fieldsOf(disk),
            fieldsOf(ST_VDI_INFO{"volume", "", "", "",    "",    0,  0,         false, false,
                                 "",       "", "", false, false, 0,  "notexit", -1,    -1,
                                 -1,       -1, "", 2,     "",    -1, "None"}));
}

ST_VM_CONFIG_INFO dirtyConfig() {
  ST_VM_CONFIG_INFO config;
  config.cpu = kDirtyCpu;
  config.memory = kDirtyMemory;
  config.disks = {kDirtyDisk};
  config.scsiDisks = {kDirtyDisk};
  config.nics.emplace_back();
  config.properties = kDirtyProperties;
  config.usb.emplace_back().controllerType = "EHCI";
  config.gpuUrn = "gpu";
  return config;
}

void expectCleanConfig(const ST_VM_CONFIG_INFO& config) {
  EXPECT_EQ(fieldsOf(config.cpu), fieldsOf(ST_VM_CPU_INFO()));
  EXPECT_EQ(fieldsOf(config.memory), fieldsOf(ST_VM_MEMORY_INFO()));
  EXPECT_THAT(config.disks, IsEmpty());
  EXPECT_THAT(config.scsiDisks, IsEmpty());
  EXPECT_THAT(config.nics, IsEmpty());
  EXPECT_EQ(config.properties.bootOption, "");
  EXPECT_EQ(config.properties.attachType, -1);
  EXPECT_EQ(config.properties.bootFirmware, "UEFI");
  EXPECT_EQ(config.properties.cdRomBootOrder, 4);
  EXPECT_THAT(config.usb, SizeIs(1));
  EXPECT_EQ(config.gpuUrn, "gpu");
}

TEST(InventoryReset, OfConfigurationEmptiesDisksAndCardsAndKeepsUsbAndGpu) {
  ST_VM_CONFIG_INFO config = dirtyConfig();
  SetDefaultValueForConfigInfo(config);
  expectCleanConfig(config);
}

TEST(InventoryReset, OfMachineClearsItsFlagsAndInnerRecords) {
  VM_DETAIL detail;
  detail.isTemplate = detail.isLinkClone = detail.fileMode = detail.isBindingHost = true;
  detail.vncAcessInfo = kDirtyVnc;
  detail.osOptions = kDirtyOs;
  detail.vmConfig = dirtyConfig();

  SetDefaultValueForVMDetail(detail);

  EXPECT_FALSE(detail.isTemplate || detail.isLinkClone || detail.fileMode || detail.isBindingHost);
  EXPECT_EQ(fieldsOf(detail.vncAcessInfo), fieldsOf(ST_VNC_ACCESS_INFO()));
  EXPECT_EQ(fieldsOf(detail.osOptions), fieldsOf(ST_VM_OS_INFO()));
  expectCleanConfig(detail.vmConfig);
}

TEST(InventoryReset, OfMachineKeepsItsTextsAndLists) {
  constexpr std::array kTexts{&VM_DETAIL::urn,
                              &VM_DETAIL::uri,
                              &VM_DETAIL::name,
                              &VM_DETAIL::description,
                              &VM_DETAIL::group,
                              &VM_DETAIL::location,
                              &VM_DETAIL::locationName,
                              &VM_DETAIL::hostUrn,
                              &VM_DETAIL::clusterUrn,
                              &VM_DETAIL::status,
                              &VM_DETAIL::pvDriverStatus,
                              &VM_DETAIL::cdRomStatus,
                              &VM_DETAIL::toolInstallStatus,
                              &VM_DETAIL::createTime,
                              &VM_DETAIL::deleteTime,
                              &VM_DETAIL::toolsVersion,
                              &VM_DETAIL::imcSetting,
                              &VM_DETAIL::uuid,
                              &VM_DETAIL::externalUuid};
  VM_DETAIL detail;
  for (std::size_t i = 0; i < kTexts.size(); ++i) detail.*kTexts[i] = std::to_string(i);
  detail.dataStoreUrns = {"store"};
  detail.securityGroupSet = {"group"};

  SetDefaultValueForVMDetail(detail);

  for (std::size_t i = 0; i < kTexts.size(); ++i) EXPECT_EQ(detail.*kTexts[i], std::to_string(i));
  EXPECT_THAT(detail.dataStoreUrns, ElementsAre("store"));
  EXPECT_THAT(detail.securityGroupSet, ElementsAre("group"));
}

TEST(InventoryReset, OfProjectedDiskClearsEveryField) {
  DiskInfoForTreeView disk;
  disk.uuid = disk.diskName = disk.datastoreUrn = disk.externalUuid = "text";
  disk.sequenceNum = disk.size = 7;
  disk.busType = 5;
  disk.reservedWord1 = disk.reservedWord2 = 9;

  SetDefaultValueForDiskInfoForTreeView(disk);

  EXPECT_EQ(fieldsOf(disk), fieldsOf(DiskInfoForTreeView()));
}

TEST(InventoryReset, OfProjectedDatastoreClearsEveryField) {
  DataStoreInfoForTreeView datastore{"1", "2", "3", "4"};
  SetDefaultValueForDataStoreInfoForTreeView(datastore);
  EXPECT_EQ(fieldsOf(datastore), fieldsOf(DataStoreInfoForTreeView{"", "", "", ""}));
}

TEST(InventoryReset, OfProjectedMachineClearsEverythingButItsReservedList) {
  VMInfoForTreeView view;
  for (std::string* text :
       {&view.osType, &view.reservedText1, &view.reservedText2, &view.reservedText3, &view.uri,
        &view.uuid, &view.group, &view.hostUrn}) {
    *text = "text";
  }
  view.osVersion = 12;
  view.diskCount = view.totalSize = 1;
  view.uuidValue.data[0] = 1;
  view.disks.emplace_back();
  view.reservedList.push_back({"1", "2", "3", "4"});

  SetDefaultValueForVMInfoForTreeView(view);

  for (const std::string* text :
       {&view.osType, &view.reservedText1, &view.reservedText2, &view.reservedText3, &view.uri,
        &view.uuid, &view.group, &view.hostUrn}) {
    EXPECT_EQ(*text, "");
  }
  EXPECT_EQ(view.osVersion, 0);
  EXPECT_EQ(view.diskCount, 999999999U);
  EXPECT_EQ(view.totalSize, 999999999U);
  EXPECT_TRUE(view.uuidValue.is_nil());
  EXPECT_THAT(view.disks, IsEmpty());
  ASSERT_THAT(view.reservedList, SizeIs(1));
  EXPECT_EQ(view.reservedList[0].text4, "4");
}

// --- Copies, kinds of type, and the order of the fields. ---

TEST(InventoryRecord, OfDiskIsCopiedFieldByField) {
  const ST_VDI_INFO copy(kDirtyDisk);
  EXPECT_EQ(fieldsOf(copy), fieldsOf(kDirtyDisk));
}

TEST(InventoryRecord, ThatTheTreeReadsIsPolymorphic) {
  EXPECT_TRUE(std::has_virtual_destructor_v<CLUSTER_INFO>);
  EXPECT_TRUE(std::has_virtual_destructor_v<CNA_INFO>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VM_INFO>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VMInfoForTreeView>);
  EXPECT_TRUE(std::has_virtual_destructor_v<DiskInfoForTreeView>);
  EXPECT_FALSE(std::is_polymorphic_v<ST_DATASTORE_INFO>);
  EXPECT_FALSE(std::is_polymorphic_v<DataStoreInfoForTreeView>);
}

TEST(InventoryRecordLayout, OfClusterFollowsTheDeclaredOrder) {
  const CLUSTER_INFO c;
  EXPECT_TRUE(standInOrder(c.urn, c.uri, c.name, c.description, c.vrmUrn, c.vrmName, c.vrmIp,
                           c.arch, c.cpuVendor, c.datastores));
}

TEST(InventoryRecordLayout, OfHostFollowsTheDeclaredOrder) {
  const CNA_INFO h;
  EXPECT_TRUE(standInOrder(h.urn, h.uri, h.ip, h.name, h.description, h.clusterUrn, h.clusterName,
                           h.vrmUrn, h.vrmName, h.vrmIp, h.datastores, h.cpuNumber, h.arch,
                           h.cpuVendor));
}

TEST(InventoryRecordLayout, OfMachineFollowsTheDeclaredOrder) {
  const VM_DETAIL d;
  EXPECT_TRUE(standInOrder(d.urn, d.uri, d.name, d.description, d.group, d.location, d.locationName,
                           d.hostUrn, d.clusterUrn, d.status, d.pvDriverStatus, d.cdRomStatus,
                           d.toolInstallStatus, d.isTemplate, d.isLinkClone, d.createTime,
                           d.deleteTime, d.toolsVersion, d.imcSetting, d.fileMode, d.isBindingHost,
                           d.vncAcessInfo, d.vmConfig, d.osOptions, d.uuid, d.dataStoreUrns,
                           d.securityGroupSet, d.externalUuid));
}

TEST(InventoryRecordLayout, OfConfigurationFollowsTheDeclaredOrder) {
  const ST_VM_CONFIG_INFO c;
  EXPECT_TRUE(
      standInOrder(c.cpu, c.memory, c.disks, c.scsiDisks, c.nics, c.properties, c.usb, c.gpuUrn));
}

// The order of the inner records is the one in which a list of values fills them.
TEST(InventoryRecordLayout, OfInnerRecordsFollowsTheDeclaredOrder) {
  EXPECT_EQ(kDirtyVnc.vncExtra, "extra");
  EXPECT_EQ(kDirtyOs.guestOSName, "guest");
  EXPECT_EQ(
      std::tie(kDirtyCpu.quantity, kDirtyCpu.reservation, kDirtyCpu.limit, kDirtyCpu.cpuHotPlug),
      std::make_tuple(1, 2, 4, 5));
  EXPECT_EQ(kDirtyMemory.limit, 4U);
  const ST_VM_PROPERTIES_INFO& p = kDirtyProperties;
  EXPECT_TRUE(standInOrder(p.bootOption, p.vmFaultProcess, p.clockMode, p.isAutoUpgrade,
                           p.isEnableHa, p.reoverByHost, p.isEnableMemVol, p.isEnableFt,
                           p.attachType, p.gpuShareType, p.isReserveResource, p.bootFirmware,
                           p.cdRomBootOrder));
  const ST_VDI_INFO& v = kDirtyDisk;
  EXPECT_TRUE(standInOrder(
      v.volumeUrn, v.diskName, v.datastoreUrn, v.datastoreName, v.vmUrn, v.sequenceNum,
      v.quantityGB, v.isThin, v.isDataCopy, v.type, v.volumeUuid, v.storageType, v.indepDisk,
      v.persistentDisk, v.volType, v.pciType, v.maxReadBytes, v.maxWriteBytes, v.maxReadRequest,
      v.maxWriteRequest, v.externalUuid, v.systemVolume, v.ioMode, v.bootOrder, v.storageProtocol));
  const ST_VM_NICS_INFO n;
  EXPECT_TRUE(standInOrder(n.name, n.urn, n.uri, n.portGroupUrn, n.portGroupName, n.mac, n.ip,
                           n.virtIo, n.sequenceNum, n.bootOrder));
}

TEST(InventoryRecordLayout, OfDatastoresFollowsTheDeclaredOrder) {
  const ST_DATASTORE_INFO d;
  EXPECT_TRUE(standInOrder(d.urn, d.uri, d.name, d.storageType, d.actualCapacityGB,
                           d.actualFreeSizeGB, d.hosts, d.extra1, d.extra2, d.extra3, d.extra4,
                           d.extra5, d.extra6, d.suUrn, d.version, d.storageUnits));
  const _datstore_ManagedObjectReference r;
  EXPECT_TRUE(standInOrder(r.uri, r.name, r.capacity, r.freeSpace, r.type));
}

TEST(InventoryRecordLayout, OfProjectionFollowsTheDeclaredOrder) {
  const VMInfoForTreeView v;
  EXPECT_TRUE(standInOrder(v.osType, v.reservedText1, v.reservedText2, v.osVersion, v.reservedText3,
                           v.diskCount, v.totalSize, v.uri, v.uuid, v.uuidValue, v.disks,
                           v.reservedList, v.group, v.hostUrn));
  const DiskInfoForTreeView d;
  EXPECT_TRUE(standInOrder(d.uuid, d.diskName, d.sequenceNum, d.busType, d.size, d.datastoreUrn,
                           d.reservedWord1, d.reservedWord2, d.externalUuid));
}

}  // namespace
