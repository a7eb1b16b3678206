// Turns one machine into its record. The manager's spellings "vncAcessInfo" and
// "reoverByHost" stand.

#include "inventory/machine_detail.h"

#include "base/log.h"
#include "inventory/inventory_records.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <cstdint>
#include <list>
#include <string_view>
#include <utility>

namespace {

constexpr std::int32_t kSystemVolumeUnknown = 2;

bool onDiskBus(std::string_view bus) { return bus == "IDE" || bus == "VIRTIO" || bus == "SCSI"; }

bool onScsiBus(std::string_view bus) { return bus == "SCSI" || bus == "scsi"; }

void readIdentity(const Json::Value& root, VM_DETAIL& detail) {
  detail.urn = root["urn"].asString();
  detail.uri = root["uri"].asString();
  detail.name = root["name"].asString();
  detail.description = root["description"].asString();
  detail.group = root["group"].asString();
  detail.location = root["location"].asString();
  detail.locationName = root["locationName"].asString();
  detail.hostUrn = root["hostUrn"].asString();
  detail.clusterUrn = root["clusterUrn"].asString();
}

void readState(const Json::Value& root, VM_DETAIL& detail) {
  detail.status = root["status"].asString();
  detail.pvDriverStatus = root["pvDriverStatus"].asString();
  detail.cdRomStatus = root["cdRomStatus"].asString();
  detail.toolInstallStatus = root["toolInstallStatus"].asString();
  detail.createTime = root["createTime"].asString();
  detail.isTemplate = root["isTemplate"].asBool();
  detail.isLinkClone = root["isLinkClone"].asBool();
  detail.deleteTime = root["deleteTime"].asString();
  detail.toolsVersion = root["toolsVersion"].asString();
  detail.imcSetting = root["imcSetting"].asString();
  detail.fileMode = root["fileMode"].asBool();
  detail.isBindingHost = root["isBindingHost"].asBool();
}

void readVncAccess(const Json::Value& vnc, ST_VNC_ACCESS_INFO& out) {
  out.hostIp = vnc["hostIp"].asString();
  out.vncPort = vnc["vncPort"].asInt();
}

void readGuestSystem(const Json::Value& options, ST_VM_OS_INFO& out) {
  out.osType = options["osType"].asString();
  out.hostname = options["hostname"].asString();
  out.osVersion = options["osVersion"].asInt();
  out.guestOSName = options["guestOSName"].asString();
}

void readCpu(const Json::Value& cpu, ST_VM_CPU_INFO& out) {
  out.quantity = cpu["quantity"].asInt();
  out.reservation = cpu["reservation"].asInt();
  out.weight = cpu["weight"].asUInt();
  out.limit = cpu["limit"].asInt();
  out.cpuHotPlug = cpu["cpuHotPlug"].asInt();
}

void readMemory(const Json::Value& memory, ST_VM_MEMORY_INFO& out) {
  out.quantityMB = memory["quantityMB"].asUInt();
  out.reservation = memory["reservation"].asUInt();
  out.weight = memory["weight"].asUInt();
  out.limit = memory["limit"].asUInt();
  out.memHotPlug = memory["memHotPlug"].asInt();
}

void readBehaviour(const Json::Value& properties, ST_VM_PROPERTIES_INFO& out) {
  out.bootOption = properties["bootOption"].asString();
  out.vmFaultProcess = properties["vmFaultProcess"].asString();
  out.isEnableHa = properties["isEnableHa"].asBool();
  out.reoverByHost = properties["reoverByHost"].asBool();
  out.isEnableMemVol = properties["isEnableMemVol"].asBool();
}

void readClock(const Json::Value& properties, ST_VM_PROPERTIES_INFO& out) {
  out.clockMode = properties["clockMode"].asString();
  out.isAutoUpgrade = true;
  if (properties["isAutoUpgrade"].isBool()) {
    out.isAutoUpgrade = properties["isAutoUpgrade"].asBool();
  }
}

void readPlacement(const Json::Value& properties, ST_VM_PROPERTIES_INFO& out) {
  out.isEnableFt = properties["isEnableFt"].asBool();
  out.attachType = properties["attachType"].asBool() ? 1 : 0;
  out.gpuShareType = properties["gpuShareType"].asString();
  out.isReserveResource = properties["isReserveResource"].asBool() ? 1 : 0;
  out.bootFirmware = properties["bootFirmware"].asString();
}

// The text of a key inside an object inside another; empty when either is missing.
std::string nestedText(const Json::Value& parent, const char* object, const char* key) {
  if (!parent.isMember(object) || !parent[object].isMember(key)) return {};
  return parent[object][key].asString();
}

void readLimits(const Json::Value& disk, ST_VDI_INFO& vdi) {
  vdi.maxReadBytes = disk["maxReadBytes"].asInt64();
  vdi.maxWriteBytes = disk["maxWriteBytes"].asInt64();
  vdi.maxReadRequest = disk["maxReadRequest"].asInt64();
  vdi.maxWriteRequest = disk["maxWriteRequest"].asInt64();
}

void readVolume(const Json::Value& disk, ST_VDI_INFO& vdi) {
  vdi.volumeUrn = disk["volumeUrn"].asString();
  if (!disk["diskName"].isNull()) vdi.diskName = disk["diskName"].asString();
  vdi.datastoreUrn = disk["datastoreUrn"].asString();
  if (!disk["datastoreName"].isNull()) vdi.datastoreName = disk["datastoreName"].asString();
  vdi.sequenceNum = disk["sequenceNum"].asUInt();
  vdi.quantityGB = disk["quantityGB"].asUInt();
  vdi.isThin = disk["isThin"].asBool();
  vdi.isDataCopy = disk["isDataCopy"].asBool();
  vdi.volumeUuid = disk["volumeUuid"].asString();
  vdi.storageType = disk["storageType"].asString();
  vdi.indepDisk = disk["indepDisk"].asBool();
  vdi.persistentDisk = disk["persistentDisk"].asBool();
  vdi.volType = disk["volType"].isInt() ? disk["volType"].asInt() : 0;
  vdi.type = disk["type"].asString();
  vdi.pciType = disk["pciType"].asString();
}

void readTexts(const Json::Value& elements, std::list<std::string>& out) {
  out.clear();
  for (const Json::Value& element : elements) out.push_back(element.asString());
}

void readSecurityGroups(const Json::Value& groups, std::list<std::string>& out) {
  out.clear();
  for (const Json::Value& group : groups) out.push_back(group["groupId"].asString());
}

void readUsb(const Json::Value& controllers, std::list<ST_VM_USB_INFO>& out) {
  out.clear();
  for (const Json::Value& controller : controllers) {
    out.emplace_back().controllerType = controller["controllerType"].asString();
  }
}

}  // namespace

// Not in the unnamed namespace: their names stand in log records.

static void SetVDIInfoSub(const Json::Value& disk, ST_VDI_INFO& vdi) {
  readVolume(disk, vdi);
  readLimits(disk, vdi);
  vdi.externalUuid = nestedText(disk, "customProperties", "external_uuid");
  vdi.systemVolume = kSystemVolumeUnknown;
  if (disk.isMember("systemVolume")) vdi.systemVolume = disk["systemVolume"].asBool() ? 0 : 1;
  vdi.ioMode = disk.isMember("ioMode") ? disk["ioMode"].asString() : std::string();
  if (disk["bootOrder"].isInt()) {
    vdi.bootOrder = disk["bootOrder"].asInt();
    KV_LOG(kInfo, "Disk[", vdi.volumeUuid, "] bootOrder is: ", vdi.bootOrder);
  }
  const Json::Value& protocol = disk["storageProtocol"];
  if (protocol.isString() || protocol.isInt()) {
    vdi.storageProtocol = protocol.asString();
    KV_LOG(kProgress, "Nof storageProtocol = ", vdi.storageProtocol);
  }
}

static void FillNICSInfoInVMDetail(const Json::Value& nics, std::list<ST_VM_NICS_INFO>& out) {
  for (const Json::Value& element : nics) {
    ST_VM_NICS_INFO nic;
    nic.name = element["name"].asString();
    nic.urn = element["urn"].asString();
    nic.uri = element["uri"].asString();
    nic.portGroupUrn = element["portGroupUrn"].asString();
    nic.portGroupName = element["portGroupName"].asString();
    nic.mac = element["mac"].asString();
    nic.ip = element["ip"].asString();
    nic.virtIo = element["virtIo"].asInt();
    nic.sequenceNum = element["sequenceNum"].asInt();
    if (element["bootOrder"].isInt()) {
      nic.bootOrder = element["bootOrder"].asInt();
      KV_LOG(kInfo, "NIC bootOrder is: ", nic.bootOrder);
    }
    out.push_back(std::move(nic));
  }
}

namespace {

// Appends the disks whose bus is accepted.
void readDisks(const Json::Value& root, bool (*accepted)(std::string_view),
               std::list<ST_VDI_INFO>& out) {
  for (const Json::Value& element : root["vmConfig"]["disks"]) {
    ST_VDI_INFO vdi;
    SetDefaultValueForVDIInfo(vdi);
    vdi.vmUrn = root["urn"].asString();
    SetVDIInfoSub(element, vdi);
    if (accepted(vdi.pciType)) out.push_back(std::move(vdi));
  }
}

void readDevices(const Json::Value& root, ST_VM_CONFIG_INFO& config) {
  const Json::Value& vmConfig = root["vmConfig"];
  config.disks.clear();
  readDisks(root, onDiskBus, config.disks);
  // Added to, not replaced: only the record's reset empties this list.
  readDisks(root, onScsiBus, config.scsiDisks);
  config.nics.clear();
  FillNICSInfoInVMDetail(vmConfig["nics"], config.nics);
  const Json::Value& gpus = vmConfig["gpu"];
  if (gpus.isValidIndex(0)) config.gpuUrn = gpus[Json::ArrayIndex{0}]["gpuUrn"].asString();
}

}  // namespace

void kestrelvisor::readMachineDetail(const Json::Value& element, VM_DETAIL& detail) {
  const Json::Value& root = asDocument(element);
  const Json::Value& vmConfig = root["vmConfig"];
  const Json::Value& properties = vmConfig["properties"];
  ST_VM_CONFIG_INFO& config = detail.vmConfig;

  readIdentity(root, detail);
  readState(root, detail);
  readVncAccess(root["vncAcessInfo"], detail.vncAcessInfo);
  readGuestSystem(root["osOptions"], detail.osOptions);
  readCpu(vmConfig["cpu"], config.cpu);
  readMemory(vmConfig["memory"], config.memory);
  readBehaviour(properties, config.properties);
  if (properties["cdRomBootOrder"].isInt()) {
    config.properties.cdRomBootOrder = properties["cdRomBootOrder"].asInt();
    KV_LOG_BY("KestrelVisor_rest_api::getVMDetail()", kModuleTag, kInfo,
              "cdRomBootOrder: ", config.properties.cdRomBootOrder);
  }
  readClock(properties, config.properties);
  detail.uuid = root["uuid"].asString();
  detail.externalUuid = nestedText(root, "params", "externalUuid");
  readPlacement(properties, config.properties);
  readDevices(root, config);
  readSecurityGroups(root["securityGroupSet"], detail.securityGroupSet);
  readUsb(vmConfig["usb"], config.usb);
  readTexts(root["dataStoreUrns"], detail.dataStoreUrns);
}

bool KestrelVisor_rest_api::getVMDetail(const std::string& json, VM_DETAIL* detail) {
  Json::Value document;
  if (!CJsonUtils::StringToJson(json, document)) return false;
  kestrelvisor::readMachineDetail(document, *detail);
  return true;
}
