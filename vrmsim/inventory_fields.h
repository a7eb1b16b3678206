#pragma once

#include "vrmsim/inventory.h"

namespace kestrelvisor::vrmsim {

// The keys of an inventory file, one table for reading and writing: each function hands every field
// of its record to the visitor together with the field's key.

template <class Visitor>
void fieldsOf(Visitor& visit, Site& site) {
  visit("id", site.id);
  visit("name", site.name);
  visit("ip", site.ip);
  visit("isSelf", site.isSelf);
}

template <class Visitor>
void fieldsOf(Visitor& visit, OsVersion& version) {
  visit("id", version.id);
  visit("versionDes", version.versionDes);
}

template <class Visitor>
void fieldsOf(Visitor& visit, OsFamilies& families) {
  visit("windows", families.windows);
  visit("linux", families.linux);
  visit("other", families.other);
}

template <class Visitor>
void fieldsOf(Visitor& visit, OsCatalogue& catalogue) {
  visit("x86", catalogue.x86);
  visit("arm", catalogue.arm);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Cluster& cluster) {
  visit("id", cluster.id);
  visit("name", cluster.name);
  visit("description", cluster.description);
  visit("arch", cluster.arch);
  visit("cpuVendor", cluster.cpuVendor);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Host& host) {
  visit("id", host.id);
  visit("name", host.name);
  visit("description", host.description);
  visit("ip", host.ip);
  visit("cluster", host.cluster);
  visit("status", host.status);
  visit("physicalCpuQuantity", host.physicalCpuQuantity);
  visit("arch", host.arch);
  visit("cpuVendor", host.cpuVendor);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Datastore& datastore) {
  visit("id", datastore.id);
  visit("name", datastore.name);
  visit("status", datastore.status);
  visit("storageType", datastore.storageType);
  visit("actualCapacityGB", datastore.actualCapacityGB);
  visit("actualFreeSizeGB", datastore.actualFreeSizeGB);
  visit("hosts", datastore.hosts);
  visit("clusters", datastore.clusters);
  visit("storageUnit", datastore.storageUnit);
  visit("storageDevice", datastore.storageDevice);
  visit("version", datastore.version);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Disk& disk) {
  visit("volume", disk.volume);
  visit("uuid", disk.uuid);
  visit("name", disk.name);
  visit("datastore", disk.datastore);
  visit("sequenceNum", disk.sequenceNum);
  visit("quantityGB", disk.quantityGB);
  visit("isThin", disk.isThin);
  visit("isDataCopy", disk.isDataCopy);
  visit("type", disk.type);
  visit("indepDisk", disk.indepDisk);
  visit("persistentDisk", disk.persistentDisk);
  visit("volType", disk.volType);
  visit("pciType", disk.pciType);
  visit("maxReadBytes", disk.maxReadBytes);
  visit("maxWriteBytes", disk.maxWriteBytes);
  visit("maxReadRequest", disk.maxReadRequest);
  visit("maxWriteRequest", disk.maxWriteRequest);
  visit("systemVolume", disk.systemVolume);
  visit("ioMode", disk.ioMode);
  visit("bootOrder", disk.bootOrder);
  visit("storageProtocol", disk.storageProtocol);
  visit("externalUuid", disk.externalUuid);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Nic& nic) {
  visit("id", nic.id);
  visit("name", nic.name);
  visit("portGroup", nic.portGroup);
  visit("portGroupName", nic.portGroupName);
  visit("mac", nic.mac);
  visit("ip", nic.ip);
  visit("virtIo", nic.virtIo);
  visit("sequenceNum", nic.sequenceNum);
  visit("bootOrder", nic.bootOrder);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Vm& vm) {
  visit("id", vm.id);
  visit("uuid", vm.uuid);
  visit("name", vm.name);
  visit("description", vm.description);
  visit("group", vm.group);
  visit("host", vm.host);
  visit("cluster", vm.cluster);
  visit("status", vm.status);
  visit("pvDriverStatus", vm.pvDriverStatus);
  visit("createTime", vm.createTime);
  visit("deleteTime", vm.deleteTime);
  visit("toolsVersion", vm.toolsVersion);
  visit("isTemplate", vm.isTemplate);
  visit("isLinkClone", vm.isLinkClone);
  visit("isBindingHost", vm.isBindingHost);
  visit("vncPort", vm.vncPort);
  visit("cpuQuantity", vm.cpuQuantity);
  visit("memoryMB", vm.memoryMB);
  visit("osType", vm.osType);
  visit("osVersion", vm.osVersion);
  visit("guestOSName", vm.guestOSName);
  visit("hostname", vm.hostname);
  visit("bootFirmware", vm.bootFirmware);
  visit("isEnableHa", vm.isEnableHa);
  visit("externalUuid", vm.externalUuid);
  visit("gpu", vm.gpu);
  visit("securityGroups", vm.securityGroups);
  visit("usbControllers", vm.usbControllers);
  visit("cbtEnabled", vm.cbtEnabled);
  visit("disks", vm.disks);
  visit("nics", vm.nics);
}

template <class Visitor>
void fieldsOf(Visitor& visit, Inventory& inventory) {
  visit("sites", inventory.sites);
  visit("osVersions", inventory.osVersions);
  visit("clusters", inventory.clusters);
  visit("hosts", inventory.hosts);
  visit("datastores", inventory.datastores);
  visit("vms", inventory.vms);
}

}  // namespace kestrelvisor::vrmsim
