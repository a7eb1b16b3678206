#include "vrmsim/wire_format.h"

#include <algorithm>

namespace kestrelvisor::vrmsim {
namespace {

// For keys that a manager leaves out when it has nothing to say.
void memberIfAny(JsonText& out, const char* key, const std::string& value) {
  if (!value.empty()) out.member(key, value);
}

void writeIdentity(JsonText& out, const InventoryIndex& index, const char* collection,
                   const std::string& id, const std::string& name) {
  out.member("urn", index.urn(collection, id)).member("uri", index.uri(collection, id));
  out.member("name", name);
}

std::string urnIfAny(const InventoryIndex& index, const char* collection, const std::string& id) {
  return id.empty() ? std::string() : index.urn(collection, id);
}

void writeStorageUnits(JsonText& out, const InventoryIndex& index, const Datastore& datastore) {
  if (datastore.storageUnit.empty()) return;
  const std::string urn = index.urn("storageunits", datastore.storageUnit);
  out.member("suUrn", urn).key("storageUnits").open('[').open('{');
  out.member("urn", urn).member("suName", datastore.storageUnit);
  out.member("sdName", datastore.storageDevice).close('}').close(']');
}

void writeProcessorAndMemory(JsonText& out, const Vm& vm) {
  out.key("cpu").open('{').member("quantity", vm.cpuQuantity).member("reservation", 0);
  out.member("weight", 1000 * vm.cpuQuantity).member("limit", 0).member("cpuHotPlug", 0);
  out.close('}');
  out.key("memory").open('{').member("quantityMB", vm.memoryMB).member("reservation", 0);
  out.member("weight", 10 * std::uint64_t{vm.memoryMB}).member("limit", 0);
  out.member("memHotPlug", 0).close('}');
}

bool isNumber(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](unsigned char c) { return c >= '0' && c <= '9'; });
}

void writeStorageProtocol(JsonText& out, const std::string& protocol) {
  // Some releases of the manager send the protocol as a number, some as a text.
  if (isNumber(protocol)) {
    out.member("storageProtocol", std::atoi(protocol.c_str()));
  } else {
    memberIfAny(out, "storageProtocol", protocol);
  }
}

void writeExternalUuid(JsonText& out, const std::string& uuid) {
  if (uuid.empty()) return;
  out.key("customProperties").open('{').member("external_uuid", uuid).close('}');
}

void writePlacement(JsonText& out, const InventoryIndex& index, const Disk& disk) {
  const Datastore* const datastore = index.datastore(disk.datastore);
  out.member("datastoreUrn", urnIfAny(index, "datastores", disk.datastore));
  out.member("datastoreName", datastore == nullptr ? std::string() : datastore->name);
  out.member("storageType", datastore == nullptr ? std::string() : datastore->storageType);
}

void writeDisk(JsonText& out, const InventoryIndex& index, const Disk& disk) {
  out.open('{').member("volumeUrn", index.urn("volumes", disk.volume));
  out.member("diskName", disk.name);
  writePlacement(out, index, disk);
  out.member("sequenceNum", disk.sequenceNum).member("quantityGB", disk.quantityGB);
  out.member("isThin", disk.isThin).member("isDataCopy", disk.isDataCopy);
  out.member("type", disk.type).member("volumeUuid", disk.uuid);
  out.member("indepDisk", disk.indepDisk).member("persistentDisk", disk.persistentDisk);
  out.member("volType", disk.volType).member("pciType", disk.pciType);
  out.member("maxReadBytes", disk.maxReadBytes).member("maxWriteBytes", disk.maxWriteBytes);
  out.member("maxReadRequest", disk.maxReadRequest);
  out.member("maxWriteRequest", disk.maxWriteRequest);
  out.member("systemVolume", disk.systemVolume).member("ioMode", disk.ioMode);
  out.member("bootOrder", disk.bootOrder);
  writeStorageProtocol(out, disk.storageProtocol);
  writeExternalUuid(out, disk.externalUuid);
  out.close('}');
}

void writeNic(JsonText& out, const InventoryIndex& index, const Nic& nic) {
  out.open('{');
  writeIdentity(out, index, "nics", nic.id, nic.name);
  out.member("portGroupUrn", urnIfAny(index, "portgroups", nic.portGroup));
  out.member("portGroupName", nic.portGroupName).member("mac", nic.mac).member("ip", nic.ip);
  out.member("virtIo", nic.virtIo).member("sequenceNum", nic.sequenceNum);
  out.member("bootOrder", nic.bootOrder).close('}');
}

void writeProperties(JsonText& out, const Vm& vm) {
  out.key("properties").open('{').member("bootOption", "disk");
  out.member("vmFaultProcess", "notprocess").member("clockMode", "freeClock");
  out.member("isAutoUpgrade", true).member("isEnableHa", vm.isEnableHa);
  out.member("reoverByHost", false).member("isEnableMemVol", false).member("isEnableFt", false);
  out.member("attachType", false).member("gpuShareType", "shared");
  out.member("isReserveResource", false).member("bootFirmware", vm.bootFirmware);
  out.member("cdRomBootOrder", -1).close('}');
}

void writeDevices(JsonText& out, const InventoryIndex& index, const Vm& vm) {
  out.key("disks").open('[');
  for (const Disk& disk : vm.disks) writeDisk(out, index, disk);
  out.close(']').key("nics").open('[');
  for (const Nic& nic : vm.nics) writeNic(out, index, nic);
  out.close(']').key("usb").open('[');
  for (const std::string& type : vm.usbControllers) {
    out.open('{').member("controllerType", type).close('}');
  }
  out.close(']').key("gpu").open('[');
  if (!vm.gpu.empty()) out.open('{').member("gpuUrn", index.urn("gpus", vm.gpu)).close('}');
  out.close(']');
}

void writeDatastoresOf(JsonText& out, const InventoryIndex& index, const Vm& vm) {
  out.key("dataStoreUrns").open('[');
  std::vector<std::string> told;
  for (const Disk& disk : vm.disks) {
    if (disk.datastore.empty()) continue;
    if (std::find(told.begin(), told.end(), disk.datastore) != told.end()) continue;
    told.push_back(disk.datastore);
    out.value(index.urn("datastores", disk.datastore));
  }
  out.close(']');
}

void writeLocation(JsonText& out, const InventoryIndex& index, const Vm& vm) {
  const Host* const host = index.host(vm.host);
  const Cluster* const cluster = index.cluster(index.clusterOf(vm));
  const std::string clusterName = cluster == nullptr ? std::string() : cluster->name;
  out.member("location", index.locationOf(vm));
  out.member("locationName", host == nullptr ? clusterName : host->name);
  out.member("hostUrn", urnIfAny(index, "hosts", vm.host));
  out.member("clusterUrn", urnIfAny(index, "clusters", index.clusterOf(vm)));
}

void writeConsole(JsonText& out, const InventoryIndex& index, const Vm& vm) {
  const Host* const host = index.host(vm.host);
  out.key("vncAcessInfo").open('{');
  out.member("hostIp", host == nullptr ? std::string() : host->ip);
  out.member("vncPort", vm.vncPort).close('}');
}

void writeGuest(JsonText& out, const Vm& vm) {
  out.key("osOptions").open('{').member("osType", vm.osType).member("osVersion", vm.osVersion);
  out.member("guestOSName", vm.guestOSName).member("hostname", vm.hostname).close('}');
}

void writeDetail(JsonText& out, const InventoryIndex& index, const Vm& vm) {
  out.member("pvDriverStatus", vm.pvDriverStatus).member("cdRomStatus", "empty");
  out.member("toolInstallStatus", "empty").member("toolsVersion", vm.toolsVersion);
  out.member("createTime", vm.createTime).member("deleteTime", vm.deleteTime);
  out.member("imcSetting", "").member("fileMode", false);
  out.member("isBindingHost", vm.isBindingHost);
  writeConsole(out, index, vm);
  out.key("vmConfig").open('{');
  writeProcessorAndMemory(out, vm);
  writeDevices(out, index, vm);
  writeProperties(out, vm);
  out.close('}');
  writeGuest(out, vm);
  writeDatastoresOf(out, index, vm);
  out.key("securityGroupSet").open('[');
  for (const std::string& id : vm.securityGroups) {
    out.open('{').member("groupId", id).close('}');
  }
  out.close(']').key("params").open('{');
  memberIfAny(out, "externalUuid", vm.externalUuid);
  out.close('}');
}

void writeFamily(JsonText& out, const char* name, const std::vector<OsVersion>& versions) {
  out.key(name).open('[');
  for (const OsVersion& version : versions) {
    out.open('{').member("id", version.id).member("versionDes", version.versionDes).close('}');
  }
  out.close(']');
}

}  // namespace

void writeSite(JsonText& out, const Site& site, const std::string& ip) {
  out.open('{').member("urn", "urn:sites:" + site.id).member("uri", siteUri(site.id));
  out.member("name", site.name).member("ip", ip).member("isSelf", site.isSelf).close('}');
}

void writeCluster(JsonText& out, const InventoryIndex& index, const Cluster& cluster) {
  out.open('{');
  writeIdentity(out, index, "clusters", cluster.id, cluster.name);
  out.member("description", cluster.description);
  memberIfAny(out, "arch", cluster.arch);
  memberIfAny(out, "cpuVendor", cluster.cpuVendor);
  out.close('}');
}

void writeHost(JsonText& out, const InventoryIndex& index, const Host& host) {
  const Cluster* const cluster = index.cluster(host.cluster);
  out.open('{');
  writeIdentity(out, index, "hosts", host.id, host.name);
  out.member("description", host.description).member("ip", host.ip);
  out.member("status", host.status);
  out.member("clusterUrn", urnIfAny(index, "clusters", host.cluster));
  out.member("clusterName", cluster == nullptr ? std::string() : cluster->name);
  out.member("physicalCpuQuantity", host.physicalCpuQuantity);
  memberIfAny(out, "arch", host.arch);
  memberIfAny(out, "cpuVendor", host.cpuVendor);
  out.close('}');
}

void writeDatastore(JsonText& out, const InventoryIndex& index, const Datastore& datastore) {
  out.open('{');
  writeIdentity(out, index, "datastores", datastore.id, datastore.name);
  out.member("status", datastore.status).member("storageType", datastore.storageType);
  out.member("actualCapacityGB", datastore.actualCapacityGB);
  out.member("actualFreeSizeGB", datastore.actualFreeSizeGB);
  out.key("hosts").open('[');
  for (const std::string& host : datastore.hosts) out.value(index.urn("hosts", host));
  out.close(']');
  writeStorageUnits(out, index, datastore);
  memberIfAny(out, "version", datastore.version);
  out.close('}');
}

void writeVm(JsonText& out, const InventoryIndex& index, const Vm& vm, bool detail) {
  out.open('{');
  writeIdentity(out, index, "vms", vm.id, vm.name);
  out.member("uuid", vm.uuid).member("description", vm.description).member("group", vm.group);
  writeLocation(out, index, vm);
  out.member("status", vm.status);
  out.member("isTemplate", vm.isTemplate).member("isLinkClone", vm.isLinkClone);
  if (detail) writeDetail(out, index, vm);
  out.close('}');
}

void writeVolume(JsonText& out, const InventoryIndex& index, const Disk& disk) {
  out.open('{');
  writeIdentity(out, index, "volumes", disk.volume, disk.name);
  out.member("uuid", disk.uuid).member("quantityGB", disk.quantityGB);
  writePlacement(out, index, disk);
  writeExternalUuid(out, disk.externalUuid);
  out.close('}');
}

void writeOsFamilies(JsonText& out, const OsFamilies& families) {
  out.open('{');
  writeFamily(out, "windows", families.windows);
  writeFamily(out, "linux", families.linux);
  writeFamily(out, "other", families.other);
  out.close('}');
}

std::string errorBody(const std::string& code, const std::string& description) {
  JsonText out;
  out.open('{').member("errorCode", code).member("errorDes", description).close('}');
  return out.take();
}

}  // namespace kestrelvisor::vrmsim
