#include "inventory/inventory_records.h"

#include <utility>

void SetDefaultValueForVncAccessInfo(ST_VNC_ACCESS_INFO& vnc) { vnc = ST_VNC_ACCESS_INFO(); }

void SetDefaultValueForVMOSInfo(ST_VM_OS_INFO& os) { os = ST_VM_OS_INFO(); }

void SetDefaultValueForVMCPUInfo(ST_VM_CPU_INFO& cpu) { cpu = ST_VM_CPU_INFO(); }

void SetDefaultValueForVMMemoryInfo(ST_VM_MEMORY_INFO& memory) { memory = ST_VM_MEMORY_INFO(); }

void SetDefaultValueForVMPropertiesInfo(ST_VM_PROPERTIES_INFO& properties) {
  ST_VM_PROPERTIES_INFO fresh;
  fresh.bootFirmware = std::move(properties.bootFirmware);
  fresh.cdRomBootOrder = properties.cdRomBootOrder;
  properties = std::move(fresh);
}

void SetDefaultValueForConfigInfo(ST_VM_CONFIG_INFO& config) {
  config.disks.clear();
  config.scsiDisks.clear();
  config.nics.clear();
  SetDefaultValueForVMCPUInfo(config.cpu);
  SetDefaultValueForVMMemoryInfo(config.memory);
  SetDefaultValueForVMPropertiesInfo(config.properties);
}

void SetDefaultValueForVMDetail(VM_DETAIL& detail) {
  detail.isTemplate = false;
  detail.isLinkClone = false;
  detail.fileMode = false;
  detail.isBindingHost = false;
  SetDefaultValueForVncAccessInfo(detail.vncAcessInfo);
  SetDefaultValueForVMOSInfo(detail.osOptions);
  SetDefaultValueForConfigInfo(detail.vmConfig);
}

void SetDefaultValueForVDIInfo(ST_VDI_INFO& vdi) {
  ST_VDI_INFO fresh;
  fresh.volumeUrn = std::move(vdi.volumeUrn);
  vdi = std::move(fresh);
}

void SetDefaultValueForDiskInfoForTreeView(DiskInfoForTreeView& disk) {
  disk = DiskInfoForTreeView();
}

void SetDefaultValueForDataStoreInfoForTreeView(DataStoreInfoForTreeView& datastore) {
  datastore = DataStoreInfoForTreeView();
}

void SetDefaultValueForVMInfoForTreeView(VMInfoForTreeView& view) {
  VMInfoForTreeView fresh;
  fresh.reservedList = std::move(view.reservedList);
  view = fresh;
}
