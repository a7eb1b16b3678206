#pragma once

#include "environment.pb.h"
#include "kestrelctl/watch/scan_watch.h"

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl::test {

inline LogRecord logRecord(const std::string& function, const std::string& text, int level = 1) {
  LogRecord record;
  record.level = level;
  record.function = function;
  record.text = text;
  return record;
}

// "hosts/1" as URI and as URN.
inline std::string uriOf(const std::string& name) { return "/service/sites/S/" + name; }

inline std::string urnOf(std::string name) {
  for (char& c : name) {
    if (c == '/') c = ':';
  }
  return "urn:sites:S:" + name;
}

// A machine as a page tells it.
struct PageMachine {
  std::string id;
  std::string place;      // "hosts/1"
  std::string more = {};  // further members, with a comma in front
  std::size_t disks = 0;

  std::string json() const {
    std::string text = R"({"urn":")" + urnOf("vms/" + id) + R"(","uri":")" + uriOf("vms/" + id) +
                       R"(","location":")" + urnOf(place) + "\"" + more;
    text += R"(,"vmConfig":{"disks":[)";
    for (std::size_t i = 0; i < disks; ++i) {
      text += std::string(i == 0 ? "" : ",") +
              R"({"pciType":"IDE","datastoreUrn":"urn:sites:S:datastores:1"})";
    }
    return text + "]}}";
  }
};

inline const std::string kTemplateMember = R"(,"isTemplate":true)";
inline const std::string kLinkedCloneMember = R"(,"isLinkClone":true)";

// Hands a watch what the engine's log tells of a scan, in the engine's order.
class ToldScan {
 public:
  using Names = std::vector<std::string>;
  using Page = std::vector<PageMachine>;

  void take(const std::string& function, const std::string& text, int level = 1) {
    watch.take(logRecord(function, text, level));
  }
  void answer(const std::string& body) {
    take("KestrelVisor_rest_api::getResponse()",
         "Get returned info from VRM:" + body + ",returned http code:200");
  }

  void prepare(const std::string& sites = R"({"sites":[{"isSelf":true}]})") {
    answer(R"({"versions":[]})");
    take("KestrelVisor_rest_api::checkLoginAgainAndCert()",
         "Success to Login with the credential and cert.");
    answer(sites);
    for (int arch = 0; arch < 2; ++arch) {
      take("KestrelVisor_rest_api::getOSListfromVrmByArch()",
           "getOSListFromVrm: filterStr: /vms/osversions");
      answer("{}");
    }
  }
  // Places by name, such as "clusters/1", with an answer each for their datastores.
  void clusters(const Names& names) {
    answer(places("clusters", names));
    take("KestrelVisor_rest_api::getClusterFromVrm()",
         "Cluster Count=" + std::to_string(names.size()));
    for (std::size_t i = 0; i < names.size(); ++i) answer(R"({"datastores":[]})");
  }
  void hosts(const Names& names) {
    answer(places("hosts", names));
    take("KestrelVisor_rest_api::getCnaFromVrm()", "cna Count = " + std::to_string(names.size()),
         2);
    for (std::size_t i = 0; i < names.size(); ++i) answer(R"({"datastores":[]})");
  }
  void count(std::size_t total) {
    answer(R"({"total":)" + std::to_string(total) + "}");
    take("KestrelVisor_rest_api::getVMFromVrm()", "the all vm count = " + std::to_string(total));
  }
  void page(const Page& machines) {
    std::string list;
    for (const PageMachine& machine : machines) {
      list += (list.empty() ? "" : ",") + machine.json();
    }
    pageText(R"({"vms":[)" + list + "]}");
  }
  void pageText(const std::string& body) {
    answer(body);
    take("KestrelVisor_rest_api::getJSonObjFromJsonStr()", "getJSonObjFromJsonStr OK!");
    take("KestrelVisor_rest_api::getVmInfoFromVrmSub()", "getAllVMInfo: Vm Count = 1");
  }
  void lookups(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) answer(R"({"volumes":[]})");
  }
  void endPlace() { take("KestrelVisor_rest_api::getVMFromVrm()", "get all the vm successfully"); }
  // A whole place without lookups.
  void place(std::size_t total, const Page& machines) {
    count(total);
    if (total == 0) return;
    page(machines);
    endPlace();
  }
  void refusedUuid(const std::string& id, const std::string& uuid = "no uuid") {
    take("KestrelVisor_rest_api::getTreeViewVMInfoFromVrm()",
         "The uuid[" + uuid + "] of VM[" + urnOf("vms/" + id) + "] is invalid !", 3);
    refusedData(id);
  }
  void refusedData(const std::string& id) {
    take("KestrelVisorPublic::CreateVMAndDiskTable()",
         "Failed to get VM[" + uriOf("vms/" + id) + "] information !", 3);
  }

  ScanWatch watch;

 private:
  static std::string places(const std::string& key, const Names& names) {
    std::string list;
    for (const std::string& name : names) {
      list += (list.empty() ? "" : ",") + (R"({"uri":")" + uriOf(name) + "\"}");
    }
    return "{\"" + key + "\":[" + list + "]}";
  }
};

// The reply of a scan: places such as "hosts/1" and machines by id.
inline ScanEnvironmentReply toldReply(const std::vector<std::string>& places,
                                      const std::vector<std::string>& machines) {
  ScanEnvironmentReply reply;
  reply.add_non_vm_records()->set_object_type(1);
  for (const std::string& name : places) {
    non_vm_record& place = *reply.add_non_vm_records();
    place.set_object_type(name.front() == 'c' ? 6 : 5);
    place.set_mo_reference(uriOf(name));
  }
  for (const std::string& id : machines) {
    machine_record& machine = *reply.add_machine_records();
    machine.set_mo(uriOf("vms/" + id));
    machine.set_guestos("Debian");
  }
  return reply;
}

}  // namespace kestrelvisor::ctl::test
