// Lists the sites that a manager knows.

#include "base/log.h"
#include "platform/contract/helpers.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <list>
#include <utility>

namespace {

constexpr const char* kSitesKey = "sites";

// The record holds no credentials: only what the manager tells of the site.
void readSite(const Json::Value& element, VRM_INFO& site) {
  site.urn = element["urn"].asString();
  site.uri = element["uri"].asString();
  site.name = element["name"].asString();
  site.vrmIp = element["ip"].asString();
  site.isSelf = element["isSelf"].asBool();
}

}  // namespace

bool KestrelVisor_rest_api::getAllVRMsInfoInADomain(VRM_INFO& vrm, bool onlySelf,
                                                    std::list<VRM_INFO>& out,
                                                    KestrelVisorErrorMessage& error) {
  Json::Value root;
  if (!getJSonObjFromKestrelVisor(vrm, "/service/sites", kSitesKey, error, root)) {
    KV_LOG(kProgress, "Failed to get vrm jsonObj");
    return false;
  }
  out.clear();
  for (const Json::Value& element : std::as_const(root)[kSitesKey]) {
    VRM_INFO site;
    SetDefaultValueForVRMInfo(site);
    if (onlySelf && !element["isSelf"].asBool()) continue;
    readSite(element, site);
    out.push_back(site);
    if (onlySelf) break;
  }
  return true;
}

bool KestrelVisor_rest_api::verifyAuth(VRM_INFO& vrm, KestrelVisorErrorMessage& err) {
  std::list<VRM_INFO> dropped;
  return getAllVRMsInfoInADomain(vrm, true, dropped, err);
}
