// Lists the clusters of a site, each with its datastores.

#include "base/log.h"
#include "inventory/allocation.h"
#include "inventory/inventory_records.h"
#include "platform/contract/helpers.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <list>
#include <utility>

namespace {

constexpr const char* kClustersKey = "clusters";

void fillBase(CLUSTER_INFO& cluster) {
  cluster.KestrelVisorObj::name = cluster.name;
  cluster.objectStr = cluster.uri;
  cluster.oldGuid = EnvProxy_string_to_uuid(cluster.objectStr);
  cluster.guid = EnvProxy_string_to_uuid(cluster.objectStr);
}

}  // namespace

bool KestrelVisor_rest_api::getClusterFromVrm(VRM_INFO& vrm,
                                              std::list<boost::shared_ptr<KestrelVisorObj>>& out,
                                              KestrelVisorErrorMessage& error) {
  // Lambdas, so that their lines name this function.
  const auto readCluster = [&vrm](const Json::Value& element, CLUSTER_INFO& cluster) {
    cluster.type = kestrelvisor::kKindCluster;
    cluster.urn = element["urn"].asString();
    cluster.uri = element["uri"].asString();
    cluster.name = element["name"].asString();
    cluster.description = element["description"].asString();
    if (element.isMember("arch")) {
      cluster.arch = element["arch"].asString();
      KV_LOG(kInfo, "clusterUrn urn:", cluster.urn, "arch :", cluster.arch);
    }
    if (element.isMember("cpuVendor")) {
      cluster.cpuVendor = element["cpuVendor"].asString();
      KV_LOG(kInfo, "clusterUrn urn:", cluster.urn, "cpuVendor :", cluster.cpuVendor);
    }
    cluster.vrmUrn = vrm.urn;
    cluster.vrmName = vrm.name;
    cluster.vrmIp = vrm.vrmIp;
    fillBase(cluster);
    KV_LOG(kInfo, "object str is :", cluster.objectStr, " object GUID is:", cluster.guid);
  };

  Json::Value root;
  if (!getJSonObjFromKestrelVisor(vrm, vrm.uri + "/clusters", kClustersKey, error, root)) {
    KV_LOG(kError, "Failed to get cluster jsonObj");
    return false;
  }
  const Json::Value& clusters = std::as_const(root)[kClustersKey];
  KV_LOG(kInfo, "Cluster Count=", clusters.size());
  for (const Json::Value& element : clusters) {
    const auto cluster = kestrelvisor::allocateOrNull<CLUSTER_INFO>();
    if (!cluster) {
      KV_LOG(kProgress, "Failed to allocate space to fill new cluster object");
      return false;
    }
    readCluster(element, *cluster);
    std::string errorCode;  // stays here: error tells of the cluster query alone
    if (!getDataStoreOfCluster(vrm, cluster->urn, cluster->datastores, errorCode)) {
      KV_LOG(kError, "Failed to query the Data Stores");
      return false;
    }
    out.push_back(cluster);
  }
  return true;
}
