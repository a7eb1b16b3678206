// Lists the hosts of a site or of one scope, each with its datastores.

#include "base/log.h"
#include "inventory/allocation.h"
#include "inventory/datastores.h"
#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <list>
#include <utility>

namespace {

constexpr const char* kHostsKey = "hosts";

void readIdentity(const Json::Value& element, CNA_INFO& host) {
  host.urn = element["urn"].asString();
  host.uri = element["uri"].asString();
  host.name = element["name"].asString();
  host.ip = element["ip"].asString();
  host.description = element["description"].asString();
  host.clusterUrn = element["clusterUrn"].asString();
  host.clusterName = element["clusterName"].asString();
}

void fillBase(CNA_INFO& host) {
  host.KestrelVisorObj::name = host.name;
  host.objectStr = host.uri;
  host.oldGuid = EnvProxy_string_to_uuid(host.objectStr);
  host.guid = EnvProxy_string_to_uuid(host.objectStr);
}

}  // namespace

bool KestrelVisor_rest_api::getCnaFromVrm(VRM_INFO& vrm, const std::string& scope,
                                          std::list<boost::shared_ptr<KestrelVisorObj>>& out,
                                          KestrelVisorErrorMessage& error) {
  // A lambda, so that its lines name this function.
  const auto readHost = [&vrm](const Json::Value& element, CNA_INFO& host) {
    host.type = kestrelvisor::kKindHost;
    readIdentity(element, host);
    if (element.isMember("arch")) {
      host.arch = element["arch"].asString();
      KV_LOG(kInfo, "Cna urn:", host.urn, "arch :", host.arch);
    }
    if (element.isMember("cpuVendor")) {
      host.cpuVendor = element["cpuVendor"].asString();
      KV_LOG(kInfo, "Cna urn:", host.urn, "cpuVendor :", host.cpuVendor);
    }
    host.vrmUrn = vrm.urn;
    host.vrmName = vrm.name;
    host.vrmIp = vrm.vrmIp;
    fillBase(host);
    // The number is read after this line, which hosts of old logs know as always 0.
    KV_LOG(kTrace, "object str is :", host.objectStr, " object GUID is:", host.guid,
           " CPU number is : ", host.cpuNumber);
    host.cpuNumber = element["physicalCpuQuantity"].asInt();
  };

  const std::string path = scope.empty() ? "/hosts" : "/hosts?scope=" + scope;
  Json::Value root;
  if (!getJSonObjFromKestrelVisor(vrm, vrm.uri + path, kHostsKey, error, root)) {
    KV_LOG(kError, "Failed to get cna jsonObj");
    return false;
  }
  const Json::Value& hosts = std::as_const(root)[kHostsKey];
  KV_LOG(kProgress, "cna Count = ", hosts.size());
  kestrelvisor::DatastoreList datastores;  // the site's, which come anew with each host
  for (const Json::Value& element : hosts) {
    const auto host = kestrelvisor::allocateOrNull<CNA_INFO>();
    if (!host) {
      KV_LOG(kError, "Failed to allocate space to fill new cna object");
      return false;
    }
    readHost(element, *host);
    std::string errorCode;  // stays here: error tells of the host query alone
    if (!kestrelvisor::appendDatastoresOfHost(*this, vrm, host->urn, host->datastores, errorCode,
                                              datastores)) {
      KV_LOG(kProgress, "Failed to query the Data Stores");
      return false;
    }
    out.push_back(host);
  }
  return true;
}
