#pragma once

#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"

#include <locale>
#include <sstream>
#include <string>

// All that inventory records hold, as texts that can be compared.
namespace kestrelvisor::test {

// Writes values one behind the other. A text has its length in front, so that no two records give
// the same.
class RecordText {
 public:
  RecordText() { text_.imbue(std::locale::classic()); }

  template <class... Values>
  RecordText& add(const Values&... values) {
    (addOne(values), ...);
    text_ << '\n';
    return *this;
  }
  std::string text() const { return text_.str(); }

 private:
  void addOne(const std::string& value) { text_ << value.size() << '"' << value << "\" "; }
  template <class Number>
  void addOne(const Number& value) {
    text_ << value << ' ';
  }

  std::ostringstream text_;
};

inline void addTo(RecordText& out, const ST_VDI_INFO& disk) {
  out.add("disk", disk.volumeUrn, disk.diskName, disk.datastoreUrn, disk.datastoreName, disk.vmUrn,
          disk.sequenceNum, disk.quantityGB, disk.isThin, disk.isDataCopy, disk.type,
          disk.volumeUuid, disk.storageType, disk.indepDisk, disk.persistentDisk, disk.volType,
          disk.pciType, disk.maxReadBytes, disk.maxWriteBytes, disk.maxReadRequest,
          disk.maxWriteRequest, disk.externalUuid, disk.systemVolume, disk.ioMode, disk.bootOrder,
          disk.storageProtocol);
}

inline void addTo(RecordText& out, const ST_VM_CONFIG_INFO& config) {
  const ST_VM_CPU_INFO& cpu = config.cpu;
  const ST_VM_MEMORY_INFO& memory = config.memory;
  const ST_VM_PROPERTIES_INFO& properties = config.properties;
  out.add(cpu.quantity, cpu.reservation, cpu.weight, cpu.limit, cpu.cpuHotPlug, memory.quantityMB,
          memory.reservation, memory.weight, memory.limit, memory.memHotPlug);
  out.add(properties.bootOption, properties.vmFaultProcess, properties.clockMode,
          properties.isAutoUpgrade, properties.isEnableHa, properties.reoverByHost,
          properties.isEnableMemVol, properties.isEnableFt, properties.attachType,
          properties.gpuShareType, properties.isReserveResource, properties.bootFirmware,
          properties.cdRomBootOrder, config.gpuUrn);
  for (const ST_VDI_INFO& disk : config.disks) addTo(out, disk);
  out.add("scsi");
  for (const ST_VDI_INFO& disk : config.scsiDisks) addTo(out, disk);
  for (const ST_VM_NICS_INFO& nic : config.nics) {
    out.add("nic", nic.name, nic.urn, nic.uri, nic.portGroupUrn, nic.portGroupName, nic.mac, nic.ip,
            nic.virtIo, nic.sequenceNum, nic.bootOrder);
  }
  for (const ST_VM_USB_INFO& usb : config.usb) out.add("usb", usb.controllerType);
}

inline std::string textOf(const VM_DETAIL& detail) {
  RecordText out;
  out.add(detail.urn, detail.uri, detail.name, detail.description, detail.group, detail.location,
          detail.locationName, detail.hostUrn, detail.clusterUrn, detail.status,
          detail.pvDriverStatus, detail.cdRomStatus, detail.toolInstallStatus, detail.isTemplate,
          detail.isLinkClone, detail.createTime, detail.deleteTime, detail.toolsVersion,
          detail.imcSetting, detail.fileMode, detail.isBindingHost, detail.uuid,
          detail.externalUuid);
  out.add(detail.vncAcessInfo.hostIp, detail.vncAcessInfo.vncPort, detail.osOptions.osType,
          detail.osOptions.hostname, detail.osOptions.osVersion, detail.osOptions.guestOSName);
  addTo(out, detail.vmConfig);
  for (const std::string& urn : detail.dataStoreUrns) out.add("datastore", urn);
  for (const std::string& group : detail.securityGroupSet) out.add("group", group);
  return out.text();
}

inline std::string textOf(const KestrelVisorObj& object) {
  RecordText out;
  return out.add(object.type, object.objectStr, object.name, object.oldGuid, object.guid).text();
}

inline std::string textOf(const VM_INFO& machine) {
  return textOf(static_cast<const KestrelVisorObj&>(machine)) + textOf(machine.detail);
}

inline std::string textOf(const ST_DATASTORE_INFO& datastore) {
  RecordText out;
  out.add(datastore.urn, datastore.uri, datastore.name, static_cast<int>(datastore.storageType),
          datastore.actualCapacityGB, datastore.actualFreeSizeGB, datastore.hosts, datastore.suUrn,
          datastore.version);
  for (const ST_STORAGE_UNIT& unit : datastore.storageUnits) {
    out.add("unit", unit.urn, unit.suName, unit.sdName);
  }
  return out.text();
}

inline std::string textOf(const datastores_t& datastores) {
  std::string text;
  for (const auto& datastore : datastores) text += textOf(*datastore);
  return text;
}

}  // namespace kestrelvisor::test
