#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

// What a simulated manager has. Plain records: objects name each other by id, and a text left empty
// is sent as an empty text unless its comment says otherwise. Nothing here checks that the named
// objects exist; the reader of inventory files does.

// One site of the domain. Exactly the site with isSelf is served; the others are only listed.
struct Site {
  std::string id;
  std::string name;
  std::string ip;  // of a remote site; the own site reports the address that the client reached
  bool isSelf = false;
  bool operator==(const Site&) const = default;
};

// One entry of the guest system catalogue.
struct OsVersion {
  int id = 0;
  std::string versionDes;
  bool operator==(const OsVersion&) const = default;
};

struct OsFamilies {
  std::vector<OsVersion> windows;
  std::vector<OsVersion> linux;
  std::vector<OsVersion> other;
  bool operator==(const OsFamilies&) const = default;
};

struct OsCatalogue {
  OsFamilies x86;
  OsFamilies arm;
  bool operator==(const OsCatalogue&) const = default;
};

struct Cluster {
  std::string id;
  std::string name;
  std::string description;
  std::string arch;       // empty: the key is not sent
  std::string cpuVendor;  // empty: the key is not sent
  bool operator==(const Cluster&) const = default;
};

struct Host {
  std::string id;
  std::string name;
  std::string description;
  std::string ip;
  std::string cluster;  // id; empty: the host belongs to no cluster
  std::string status = "normal";
  int physicalCpuQuantity = 2;
  std::string arch;       // empty: the key is not sent
  std::string cpuVendor;  // empty: the key is not sent
  bool operator==(const Host&) const = default;
};

struct Datastore {
  std::string id;
  std::string name;
  std::string status = "NORMAL";
  std::string storageType = "LUNPOME";
  std::uint32_t actualCapacityGB = 1024;
  std::uint32_t actualFreeSizeGB = 512;
  std::vector<std::string> hosts;     // ids; their clusters see the datastore, too
  std::vector<std::string> clusters;  // ids of clusters that see it although none of the hosts is
                                      // theirs
  std::string storageUnit;            // name of the unit below it; empty: no unit is sent
  std::string storageDevice;          // name of the device that holds the unit
  std::string version;                // empty: the key is not sent
  bool operator==(const Datastore&) const = default;
};

struct Disk {
  std::string volume;  // id of the volume
  std::string uuid;
  std::string name;
  std::string datastore;  // id; empty: an empty datastoreUrn is sent
  std::uint32_t sequenceNum = 1;
  std::uint32_t quantityGB = 40;
  bool isThin = true;
  bool isDataCopy = false;
  std::string type = "normal";
  bool indepDisk = false;
  bool persistentDisk = true;
  int volType = 0;
  std::string pciType = "VIRTIO";
  std::int64_t maxReadBytes = 0;
  std::int64_t maxWriteBytes = 0;
  std::int64_t maxReadRequest = 0;
  std::int64_t maxWriteRequest = 0;
  bool systemVolume = false;
  std::string ioMode = "dataplane";
  int bootOrder = -1;
  std::string storageProtocol;  // empty: the key is not sent; digits only: sent as a number
  std::string externalUuid;     // empty: "customProperties" is not sent
  bool operator==(const Disk&) const = default;
};

struct Nic {
  std::string id;
  std::string name = "Network Adapter 1";
  std::string portGroup;  // id
  std::string portGroupName;
  std::string mac;
  std::string ip;
  int virtIo = 1;
  int sequenceNum = 0;
  int bootOrder = -1;
  bool operator==(const Nic&) const = default;
};

struct Vm {
  std::string id;
  std::string uuid;
  std::string name;
  std::string description;
  std::string group;
  std::string host;     // id; empty: the VM is located on the cluster itself
  std::string cluster;  // id; empty: that of the host
  std::string status = "running";
  std::string pvDriverStatus = "running";
  std::string createTime = "2023-03-01 08:00:00";
  std::string deleteTime;
  std::string toolsVersion = "3.0.1";
  bool isTemplate = false;
  bool isLinkClone = false;
  bool isBindingHost = false;
  int vncPort = 5900;
  int cpuQuantity = 2;
  std::uint32_t memoryMB = 4096;
  std::string osType = "Linux";
  int osVersion = 0;
  std::string guestOSName;
  std::string hostname;
  std::string bootFirmware = "BIOS";
  bool isEnableHa = true;
  std::string externalUuid;  // empty: "params" holds no "externalUuid"
  std::string gpu;           // id; empty: an empty "gpu" list
  std::vector<std::string> securityGroups;
  std::vector<std::string> usbControllers;
  bool cbtEnabled = true;
  std::vector<Disk> disks;
  std::vector<Nic> nics;
  bool operator==(const Vm&) const = default;
};

struct Inventory {
  std::vector<Site> sites;
  OsCatalogue osVersions;
  std::vector<Cluster> clusters;
  std::vector<Host> hosts;
  std::vector<Datastore> datastores;
  std::vector<Vm> vms;
  bool operator==(const Inventory&) const = default;

  // The id of the own site; empty when no site has isSelf.
  std::string ownSite() const;
};

// The names by which the manager's clients know the objects of a site.
std::string siteUri(const std::string& site);
std::string objectUri(const std::string& site, const char* collection, const std::string& id);
std::string objectUrn(const std::string& site, const char* collection, const std::string& id);

}  // namespace kestrelvisor::vrmsim
