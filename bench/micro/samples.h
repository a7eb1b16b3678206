#pragma once

#include <string>

// Answers of a manager as they come over the wire, of any size.
namespace kestrelvisor::bench {

inline constexpr const char* kHostUrn = "urn:sites:1:hosts:1";

// A machine as a page tells it. Its disks are of a kind that is looked up nowhere else.
inline std::string machineText(int number) {
  const std::string n = std::to_string(1000000 + number);
  std::string disks;
  for (const char* disk : {"1", "2"}) {
    disks += std::string(disks.empty() ? "" : ",") + R"({"volumeUrn":"urn:sites:1:volumes:)" + n +
             R"(","volumeUuid":"dddddddd-0000-4000-8000-00000)" + n + R"(","diskName":"disk-)" +
             disk +
             R"(","datastoreUrn":"urn:sites:1:datastores:1","datastoreName":"datastore-1",)"
             R"("sequenceNum":1,"quantityGB":10,"isThin":true,"isDataCopy":false,)"
             R"("storageType":"NAS","indepDisk":false,"persistentDisk":true,"volType":0,)"
             R"("type":"normal","pciType":"scsi","maxReadBytes":0,"maxWriteBytes":0,)"
             R"("maxReadRequest":0,"maxWriteRequest":0,"systemVolume":true,"ioMode":"dataplane"})";
  }
  return R"({"urn":"urn:sites:1:vms:)" + n + R"(","uri":"/service/sites/1/vms/)" + n +
         R"(","name":"vm-)" + n +
         R"(","description":"made for a figure","group":"KC_group",)"
         R"("location":"urn:sites:1:hosts:1","locationName":"host-1",)"
         R"("hostUrn":"urn:sites:1:hosts:1","clusterUrn":"urn:sites:1:clusters:1",)"
         R"("status":"running","pvDriverStatus":"running","cdRomStatus":"empty",)"
         R"("toolInstallStatus":"empty","createTime":"2026-11-21 13:00:00","isTemplate":false,)"
         R"("isLinkClone":false,"toolsVersion":"1.0","imcSetting":"","isBindingHost":false,)"
         R"("uuid":"aaaaaaaa-0000-4000-8000-00000)" +
         n +
         R"(",)"
         R"("vncAcessInfo":{"hostIp":"10.0.0.1","vncPort":5901},)"
         R"("osOptions":{"osType":"Linux","hostname":"guest","osVersion":7,"guestOSName":"x"},)"
         R"("securityGroupSet":[{"groupId":"1"}],"dataStoreUrns":["urn:sites:1:datastores:1"],)"
         R"("vmConfig":{"cpu":{"quantity":2,"reservation":0,"weight":2000,"limit":0,)"
         R"("cpuHotPlug":1},"memory":{"quantityMB":4096,"reservation":0,"weight":40960,)"
         R"("limit":0,"memHotPlug":1},"properties":{"bootOption":"disk","isEnableHa":true,)"
         R"("reoverByHost":false,"isEnableMemVol":false,"clockMode":"freeClock",)"
         R"("isAutoUpgrade":true,"attachType":false,"bootFirmware":"BIOS"},"disks":[)" +
         disks +
         R"(],"nics":[{"name":"Network Adapter 1","urn":"urn:sites:1:vms:1:nics:1",)"
         R"("uri":"/service/sites/1/vms/1/nics/1","portGroupUrn":"urn:pg:1",)"
         R"("portGroupName":"management","mac":"28:6e:d4:88:c6:29","ip":"10.0.1.1",)"
         R"("virtIo":1,"sequenceNum":0}]}})";
}

inline std::string pageText(int machines) {
  std::string text = R"({"total":)" + std::to_string(machines) + R"(,"vms":[)";
  for (int number = 0; number < machines; ++number) {
    text += (number > 0 ? "," : "") + machineText(number);
  }
  return text + "]}";
}

// Datastores, each of which every host reaches.
inline std::string datastoresText(int datastores, int hosts) {
  std::string reached;
  for (int number = 1; number <= hosts; ++number) {
    reached +=
        std::string(number > 1 ? "," : "") + "\"urn:sites:1:hosts:" + std::to_string(number) + '"';
  }
  std::string text = R"({"total":)" + std::to_string(datastores) + R"(,"datastores":[)";
  for (int number = 1; number <= datastores; ++number) {
    const std::string n = std::to_string(number);
    text += std::string(number > 1 ? "," : "") + R"({"urn":"urn:sites:1:datastores:)" + n +
            R"(","uri":"/service/sites/1/datastores/)" + n + R"(","name":"datastore-)" + n +
            R"(","storageType":"NAS","hosts":[)" + reached +
            R"(],"suUrn":"urn:sites:1:storageunits:1","actualCapacityGB":4096,)"
            R"("actualFreeSizeGB":1024,"status":"NORMAL","version":"5"})";
  }
  return text + "]}";
}

}  // namespace kestrelvisor::bench
