// Fetches the guest systems that a manager knows by number, and looks them up.

#include "base/log.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <array>
#include <map>
#include <utility>

namespace {

constexpr unsigned int kDefaultArch = 0;
constexpr unsigned int kArmArch = 1;

// Families as machines name them, and as the catalogue does.
struct Family {
  const char* osType;
  const char* key;
};

constexpr std::array<Family, 3> kFamilies{{
    {"Windows", "windows"},
    {"Linux", "linux"},
    {"Other", "other"},
}};

std::string familyOf(const std::string& osType) {
  for (const Family& family : kFamilies) {
    if (osType == family.osType) return family.key;
  }
  return osType;
}

}  // namespace

bool KestrelVisor_rest_api::getOSListFromVrm(
    VRM_INFO& vrm, std::map<std::string, std::map<int, std::string>>& osMap,
    KestrelVisorErrorMessage& err) {
  // The second list is asked for even when the first failed.
  const bool first = getOSListfromVrmByArch(vrm, osMap, err, kDefaultArch);
  const bool second = getOSListfromVrmByArch(vrm, osMap, err, kArmArch);
  return first && second;
}

bool KestrelVisor_rest_api::getOSListfromVrmByArch(
    VRM_INFO& vrm, std::map<std::string, std::map<int, std::string>>& osMap,
    KestrelVisorErrorMessage& err, unsigned int arch) {
  std::string filterStr = "/vms/osversions";
  KV_LOG(kInfo, "getOSListFromVrm: filterStr: ", filterStr);
  if (arch == kArmArch) filterStr += "?arch=arm";

  Json::Value root;
  if (!getJSonObjFromKestrelVisor(vrm, vrm.uri + filterStr, "", err, root)) {
    KV_LOG(kError, "Failed to get OS List");
    return false;
  }
  const Json::Value& answer = kestrelvisor::asDocument(root);
  for (const Family& family : kFamilies) {
    // A copy, so that an element that cannot be read leaves the family as it was.
    std::map<int, std::string> versions;
    if (const auto known = osMap.find(family.key); known != osMap.end()) versions = known->second;
    for (const Json::Value& element : answer[family.key]) {
      std::string description = element["versionDes"].asString();
      versions[element["id"].asInt()] = std::move(description);
    }
    osMap[family.key] = std::move(versions);
  }
  return true;
}

bool KestrelVisor_rest_api::getOSDesFromOSList(
    std::map<std::string, std::map<int, std::string>>& osMap, const std::string& osType,
    const int& osVersion, std::string& osDes, std::string& message) {
  osDes.clear();
  message.clear();
  if (osType.empty()) {
    KV_LOG(kInfo, "getOSDesFromOSList: Failed. OsType is empty. ");
  }
  osDes = osMap[familyOf(osType)][osVersion];  // a miss adds an empty entry
  if (!osDes.empty()) return true;
  KV_LOG(kInfo, "osDes is empty.");
  return false;
}
