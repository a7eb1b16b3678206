// Asks the manager's volume discovery for the external identifiers of a machine's disks.

#include "base/log.h"
#include "inventory/inventory_records.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"

#include <boost/algorithm/string/split.hpp>

#include <utility>
#include <vector>

namespace {

constexpr const char* kVolumesKey = "volumes";

// Fields of a datastore's URN: "urn", site collection, site, datastore collection, datastore.
constexpr std::size_t kSiteCollectionField = 1;
constexpr std::size_t kSiteField = 2;
constexpr std::size_t kDatastoreField = 4;

std::vector<std::string> fieldsOf(const std::string& urn) {
  std::vector<std::string> fields;
  boost::algorithm::split(fields, urn, [](char c) { return c == ':'; });
  return fields;
}

// Site and datastore come from the disk, not from the connection; "datestore" is the manager's
// word.
std::string discoveryPath(const std::vector<std::string>& fields, const std::string& volumeUuid) {
  return "/service/" + fields[kSiteCollectionField] + "/" + fields[kSiteField] +
         "/volumes/compatibility/discovery?uuid=" + volumeUuid +
         "&datestore=" + fields[kDatastoreField] + "&page=1&offset=0&limit=15";
}

// The last volume decides, also when it tells nothing.
void takeExternalUuid(const Json::Value& volumes, ST_VDI_INFO& disk) {
  for (const Json::Value& volume : volumes) {
    disk.externalUuid.clear();
    if (!volume.isMember("customProperties")) continue;
    const Json::Value& properties = volume["customProperties"];
    if (properties.isMember("external_uuid")) {
      disk.externalUuid = properties["external_uuid"].asString();
    }
  }
}

}  // namespace

void KestrelVisor_rest_api::getDiskDetailInfoFromVrm(VRM_INFO& vrm, VM_DETAIL& detail) {
  for (ST_VDI_INFO& disk : detail.vmConfig.disks) {
    KestrelVisorErrorMessage dropped;
    const std::vector<std::string> fields = fieldsOf(disk.datastoreUrn);
    if (fields.size() <= kDatastoreField) {
      KV_LOG(kError, "datastoreParts.size =  ", fields.size(), disk.datastoreUrn);
      continue;
    }
    Json::Value root;
    const std::string path = discoveryPath(fields, disk.volumeUuid);
    if (!getJSonObjFromKestrelVisor(vrm, path, kVolumesKey, dropped, root)) {
      KV_LOG(kError, "Failed to get vm jsonObj");
      return;
    }
    takeExternalUuid(std::as_const(root)[kVolumesKey], disk);
  }
}
