// Lists the machines of one scope, page by page.

#include "base/log.h"
#include "inventory/allocation.h"
#include "inventory/inventory_records.h"
#include "inventory/machine_detail.h"
#include "platform/contract/helpers.h"
#include "rest/document_request.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/rewriting.h"

#include <cstdint>
#include <list>
#include <typeinfo>
#include <utility>

namespace {

constexpr const char* kMachinesKey = "vms";
constexpr const char* kTotalKey = "total";
constexpr std::int32_t kPageSize = 100;

std::string scopeParameter(const std::string& scope) {
  return scope.empty() ? std::string() : "&scope=" + scope;
}

std::string pageQuery(std::int64_t offset, const std::string& scope) {
  return "limit=" + std::to_string(kPageSize) + "&offset=" + std::to_string(offset) +
         scopeParameter(scope) + "&detail=2";
}

// Machines that are only somewhere inside the scope, templates and linked clones stay out.
bool belongs(const Json::Value& element, const std::string& scope) {
  if (element["location"].asString() != scope) return false;
  return !element["isTemplate"].asBool() && !element["isLinkClone"].asBool();
}

// Hands an element to getVMDetail as the text that it takes.
bool readRewritten(KestrelVisor_rest_api& api, const Json::Value& element, VM_DETAIL& detail) {
  const Json::StreamWriterBuilder writer;
  return api.getVMDetail(kestrelvisor::writeJson(writer, element), &detail);
}

}  // namespace

bool KestrelVisor_rest_api::getVMFromVrm(VRM_INFO& vrm, const std::string& scope,
                                         std::list<boost::shared_ptr<KestrelVisorObj>>& result,
                                         KestrelVisorErrorMessage& error) {
  // Lambdas, so that their lines name this function.
  const auto takePage = [&](const std::list<boost::shared_ptr<VM_INFO>>& page) {
    for (const auto& machine : page) {
      std::string text = vrm.urn + machine->oldGuid;
      machine->guid = EnvProxy_string_to_uuid(text);
      machine->type = kestrelvisor::kKindMachine;
      KV_LOG(kTrace, "object str is :", text, " object GUID is:", machine->guid);
      KV_LOG(kTrace, "old vm GUID is :", machine->oldGuid,
             " object GUID is :", EnvProxy_string_to_uuid(text));
      result.push_back(machine);
    }
  };
  const auto reportPage = [&](std::int32_t index) {
    if (result.empty()) {
      KV_LOG(kWarning, "the ", index, " get the vm size = 0");
    } else {
      KV_LOG(kInfo, "the ", index, " get the vm size = ", result.size());
    }
  };

  const std::string probe = vrm.uri + "/vms?limit=1&offset=0" + scopeParameter(scope);
  Json::Value root;
  if (!getJSonObjFromKestrelVisor(vrm, probe, kTotalKey, error, root)) {
    KV_LOG(kError, "Failed to get vm jsonObj");
    return false;
  }
  const auto count = static_cast<std::int32_t>(std::as_const(root)[kTotalKey].asUInt());
  KV_LOG(kInfo, "the all vm count = ", count);
  if (count < 1) return true;

  // One page more than needed for a multiple of the page size: managers expect this traffic.
  const std::int32_t pages = count / kPageSize + 1;
  for (std::int32_t index = 0; index < pages; ++index) {
    std::list<boost::shared_ptr<VM_INFO>> page;
    const std::string query = pageQuery(std::int64_t{index} * kPageSize, scope);
    if (!getVmInfoFromVrmSub(vrm, scope, page, query, error)) {
      KV_LOG(kError, "Failed to get vms info from KestrelVisor");
      return false;
    }
    takePage(page);
    reportPage(index);
  }
  KV_LOG(kInfo, "get all the vm successfully");
  return true;
}

bool KestrelVisor_rest_api::getVmInfoFromVrmSub(VRM_INFO& vrm, const std::string& scope,
                                                std::list<boost::shared_ptr<VM_INFO>>& page,
                                                const std::string& query,
                                                KestrelVisorErrorMessage& error) {
  std::string text;
  Json::Value root;
  if (!kestrelvisor::requestDocument(*this, vrm, vrm.uri + "/vms?" + query, error, text) ||
      !getJSonObjFromJsonStr(kMachinesKey, text, root)) {
    KV_LOG(kError, "Failed to get vm jsonObj");
    return false;
  }
  Json::Value& machines = root[kMachinesKey];
  KV_LOG(kInfo, "getAllVMInfo: Vm Count = ", machines.size());
  // Only a derived client may read a machine otherwise than this one does.
  const bool readsInPlace =
      typeid(*this) == typeid(KestrelVisor_rest_api) && kestrelvisor::survivesRewriting(text);
  for (Json::Value& element : machines) {
    if (!belongs(element, scope)) continue;
    const auto machine = kestrelvisor::allocateOrNull<VM_INFO>();
    if (!machine) {
      KV_LOG(kError, "Failed to allocate space to fill new vm object");
      return false;
    }
    SetDefaultValueForVMDetail(machine->detail);
    if (readsInPlace) {
      kestrelvisor::readMachineDetail(element, machine->detail);
    } else if (!readRewritten(*this, element, machine->detail)) {
      KV_LOG(kError, "Failed to parse vm jsonObj");
      return false;
    }
    // Freed while the cache still holds it: the requests for the disks drive it out.
    Json::Value().swap(element);
    getDiskDetailInfoFromVrm(vrm, machine->detail);
    machine->name = machine->detail.name;
    machine->objectStr = machine->detail.uri;
    machine->oldGuid = machine->detail.uuid;
    page.push_back(machine);
  }
  return true;
}
