#pragma once

#include "base/vrm_info.h"

#include <boost/shared_ptr.hpp>
#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <list>
#include <string>
#include <vector>

// The records that the inventory queries fill and that the tree and the reply read. Plain data;
// comments name the key of the manager's answer where the field's own name does not.

// Kind of a datastore's storage.
enum EN_DATASTORAGE_TYPE : std::int32_t {
  EN_DATASTORAGE_TYPE_VIRTUAL = 0,  // LUNPOME, LOCALPOME and NAS
  EN_DATASTORAGE_TYPE_QSTORE = 1,
  EN_DATASTORAGE_TYPE_ADVANCE_SAN = 2,
  EN_DATASTORAGE_TYPE_NOT_SUPPORT = 3,
};

struct ST_STORAGE_UNIT {
  std::string urn;
  std::string suName;
  std::string sdName;
};

// One datastore, shared between the query's list and whoever keeps it.
struct ST_DATASTORE_INFO {
  std::string urn;
  std::string uri;
  std::string name;
  EN_DATASTORAGE_TYPE storageType = EN_DATASTORAGE_TYPE_VIRTUAL;
  std::uint32_t actualCapacityGB = 0;
  std::uint32_t actualFreeSizeGB = 0;
  std::string hosts;  // URNs of the hosts that reach it, joined by "|"
  std::string extra1;
  std::string extra2;
  std::string extra3;
  std::string extra4;
  std::string extra5;
  std::string extra6;
  std::string suUrn;
  std::string version;
  std::list<ST_STORAGE_UNIT> storageUnits;
};

// The form in which a tree node keeps a datastore.
struct _datstore_ManagedObjectReference {  // NOLINT(bugprone-reserved-identifier)
  std::string uri;
  std::string name;
  std::string capacity;    // decimal, KiB for a capacity in GiB
  std::string freeSpace;   // likewise
  std::uint64_t type = 0;  // EN_DATASTORAGE_TYPE
};

// A cluster, type 6.
class CLUSTER_INFO : public KestrelVisorObj {
 public:
  std::string urn;
  std::string uri;
  std::string name;  // not the base's name
  std::string description;
  std::string vrmUrn;   // the site's
  std::string vrmName;  // the site's
  std::string vrmIp;    // the manager's
  std::string arch = "x86";
  std::string cpuVendor;
  std::list<boost::shared_ptr<ST_DATASTORE_INFO>> datastores;
};

// A host, type 5.
class CNA_INFO : public KestrelVisorObj {
 public:
  std::string urn;
  std::string uri;
  std::string ip;
  std::string name;  // not the base's name
  std::string description;
  std::string clusterUrn;
  std::string clusterName;
  std::string vrmUrn;   // the site's
  std::string vrmName;  // the site's
  std::string vrmIp;    // the manager's
  std::list<boost::shared_ptr<ST_DATASTORE_INFO>> datastores;
  std::int32_t cpuNumber = 0;  // "physicalCpuQuantity"
  std::string arch = "x86";
  std::string cpuVendor;
};

struct ST_VNC_ACCESS_INFO {
  std::string hostIp;
  std::int32_t vncPort = 0;
  std::string vncExtra;  // no query fills it
};

struct ST_VM_CPU_INFO {
  std::int32_t quantity = 0;
  std::int32_t reservation = 0;
  std::uint64_t weight = 0;
  std::int32_t limit = 0;
  std::int32_t cpuHotPlug = 0;
};

struct ST_VM_MEMORY_INFO {
  std::uint64_t quantityMB = 0;
  std::uint64_t reservation = 0;
  std::uint64_t weight = 0;
  std::uint64_t limit = 0;
  std::int32_t memHotPlug = 0;
};

struct ST_VM_PROPERTIES_INFO {
  std::string bootOption;
  std::string vmFaultProcess;
  std::string clockMode;
  bool isAutoUpgrade = false;
  bool isEnableHa = false;
  bool reoverByHost = false;
  bool isEnableMemVol = false;
  bool isEnableFt = false;
  std::int32_t attachType = -1;
  std::string gpuShareType{kestrelvisor::kUnknownProperty};
  std::int32_t isReserveResource = -1;
  std::string bootFirmware;
  // Written only when the manager reports an integer; the value here means "not reported".
  std::int32_t cdRomBootOrder = -1;
};

struct ST_VM_OS_INFO {
  std::string osType;
  std::string hostname;
  std::string osExtra;  // no query fills it
  std::int32_t osVersion = 0;
  std::string guestOSName;
};

// One disk of a machine.
struct ST_VDI_INFO {
  std::string volumeUrn;
  std::string diskName;
  std::string datastoreUrn;
  std::string datastoreName;
  std::string vmUrn;  // the machine's "urn"
  std::uint32_t sequenceNum = 0;
  std::uint32_t quantityGB = 0;
  bool isThin = false;
  bool isDataCopy = false;
  std::string type;
  std::string volumeUuid;
  std::string storageType;
  bool indepDisk = false;
  bool persistentDisk = false;
  std::int32_t volType = 0;
  std::string pciType{kestrelvisor::kUnknownProperty};
  std::int64_t maxReadBytes = -1;
  std::int64_t maxWriteBytes = -1;
  std::int64_t maxReadRequest = -1;
  std::int64_t maxWriteRequest = -1;
  std::string externalUuid;       // "customProperties"."external_uuid"
  std::int32_t systemVolume = 2;  // 0 the system's volume, 1 not, 2 not told
  std::string ioMode;
  std::int32_t bootOrder = -1;
  std::string storageProtocol = "None";
};

// One network card of a machine.
struct ST_VM_NICS_INFO {
  std::string name;
  std::string urn;
  std::string uri;
  std::string portGroupUrn;
  std::string portGroupName;
  std::string mac;
  std::string ip;
  std::int32_t virtIo = 0;
  std::int32_t sequenceNum = 0;
  std::int32_t bootOrder = -1;
};

struct ST_VM_USB_INFO {
  std::string controllerType;
  std::list<std::string> devices;  // no query fills it
};

struct ST_VM_CONFIG_INFO {
  ST_VM_CPU_INFO cpu;
  ST_VM_MEMORY_INFO memory;
  std::list<ST_VDI_INFO> disks;      // on an "IDE", "VIRTIO" or "SCSI" bus
  std::list<ST_VDI_INFO> scsiDisks;  // on a "SCSI" or "scsi" bus
  std::list<ST_VM_NICS_INFO> nics;
  ST_VM_PROPERTIES_INFO properties;
  std::list<ST_VM_USB_INFO> usb;
  std::string gpuUrn;  // of the first "gpu"
};

// All that the manager tells about one machine.
struct VM_DETAIL {
  std::string urn;
  std::string uri;
  std::string name;
  std::string description;
  std::string group;
  std::string location;  // URN of the host or cluster that the machine hangs below
  std::string locationName;
  std::string hostUrn;
  std::string clusterUrn;
  std::string status;
  std::string pvDriverStatus;
  std::string cdRomStatus;
  std::string toolInstallStatus;
  bool isTemplate = false;
  bool isLinkClone = false;
  std::string createTime;
  std::string deleteTime;
  std::string toolsVersion;
  std::string imcSetting;
  bool fileMode = false;
  bool isBindingHost = false;
  ST_VNC_ACCESS_INFO vncAcessInfo;
  ST_VM_CONFIG_INFO vmConfig;
  ST_VM_OS_INFO osOptions;
  std::string uuid;
  std::list<std::string> dataStoreUrns;
  std::list<std::string> securityGroupSet;  // "groupId" of each element
  std::string externalUuid;                 // "params"."externalUuid"
};

// A virtual machine, type 7.
class VM_INFO : public KestrelVisorObj {
 public:
  VM_DETAIL detail;
};

// One disk as a backup may see it.
class DiskInfoForTreeView {
 public:
  DiskInfoForTreeView() = default;
  DiskInfoForTreeView(const DiskInfoForTreeView&) = default;
  DiskInfoForTreeView& operator=(const DiskInfoForTreeView&) = default;
  virtual ~DiskInfoForTreeView() = default;

  std::string uuid;  // canonical text
  std::string diskName;
  std::int64_t sequenceNum = 0;
  std::int32_t busType = 1000;  // 1 IDE, 2 SCSI, 5 VIRTIO
  std::int64_t size = 0;        // KiB
  std::string datastoreUrn;
  std::uint64_t reservedWord1 = 0;
  std::uint64_t reservedWord2 = 0;
  std::string externalUuid;
};

// Four texts that no query fills.
struct DataStoreInfoForTreeView {
  std::string text1;
  std::string text2;
  std::string text3;
  std::string text4;
};

// One machine as a backup may see it.
class VMInfoForTreeView {
 public:
  VMInfoForTreeView() = default;
  VMInfoForTreeView(const VMInfoForTreeView&) = default;
  VMInfoForTreeView& operator=(const VMInfoForTreeView&) = default;
  virtual ~VMInfoForTreeView() = default;

  static constexpr std::uint64_t kUnfilled = 999999999;

  std::string osType;
  std::string reservedText1;
  std::string reservedText2;
  std::int32_t osVersion = 0;
  std::string reservedText3;
  std::uint64_t diskCount = kUnfilled;  // number of disks
  std::uint64_t totalSize = kUnfilled;  // of the disks, KiB
  std::string uri;
  std::string uuid;  // as the manager writes it
  boost::uuids::uuid uuidValue = boost::uuids::nil_uuid();
  std::vector<DiskInfoForTreeView> disks;
  std::vector<DataStoreInfoForTreeView> reservedList;
  std::string group;
  std::string hostUrn;
};

// The resets put a record into its initial state. Fields that a reset does not name stay.
void SetDefaultValueForVncAccessInfo(ST_VNC_ACCESS_INFO& vnc);
void SetDefaultValueForVMOSInfo(ST_VM_OS_INFO& os);
void SetDefaultValueForVMCPUInfo(ST_VM_CPU_INFO& cpu);
void SetDefaultValueForVMMemoryInfo(ST_VM_MEMORY_INFO& memory);
// Leaves bootFirmware and cdRomBootOrder.
void SetDefaultValueForVMPropertiesInfo(ST_VM_PROPERTIES_INFO& properties);
// Empties disks, scsiDisks and nics and resets CPU, memory and properties; leaves usb and gpuUrn.
void SetDefaultValueForConfigInfo(ST_VM_CONFIG_INFO& config);
// Clears the four flags and resets VNC access, guest system and configuration; leaves the rest.
void SetDefaultValueForVMDetail(VM_DETAIL& detail);
// Leaves volumeUrn.
void SetDefaultValueForVDIInfo(ST_VDI_INFO& vdi);
void SetDefaultValueForDiskInfoForTreeView(DiskInfoForTreeView& disk);
void SetDefaultValueForDataStoreInfoForTreeView(DataStoreInfoForTreeView& datastore);
// Leaves reservedList.
void SetDefaultValueForVMInfoForTreeView(VMInfoForTreeView& view);
