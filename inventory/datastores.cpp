// Lists the normal datastores of a site and picks those of one cluster or host.

#include "inventory/datastores.h"

#include "base/log.h"
#include "inventory/allocation.h"
#include "inventory/inventory_records.h"
#include "rest/json_utils.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/manager_url.h"
#include "rest/rewriting.h"

#include <array>
#include <list>
#include <string_view>
#include <utility>

namespace {

using kestrelvisor::DatastoreList;

constexpr char kHostSeparator = '|';

struct StorageType {
  std::string_view text;
  EN_DATASTORAGE_TYPE type;
};

constexpr std::array<StorageType, 5> kStorageTypes{{
    {"LUNPOME", EN_DATASTORAGE_TYPE_VIRTUAL},
    {"LOCALPOME", EN_DATASTORAGE_TYPE_VIRTUAL},
    {"NAS", EN_DATASTORAGE_TYPE_VIRTUAL},
    {"QSTORE", EN_DATASTORAGE_TYPE_QSTORE},
    {"advanceSan", EN_DATASTORAGE_TYPE_ADVANCE_SAN},
}};

// Throws Json::Exception for hosts that are no array.
std::string joinHosts(const Json::Value& hosts) {
  std::string joined = hosts[Json::ArrayIndex{0}].asString();
  for (Json::ArrayIndex index = 1; index < hosts.size(); ++index) {
    joined += kHostSeparator + hosts[index].asString();
  }
  return joined;
}

void readStorageUnits(const Json::Value& units, std::list<ST_STORAGE_UNIT>& out) {
  for (const Json::Value& element : units) {
    ST_STORAGE_UNIT unit;
    unit.urn = element["urn"].asString();
    unit.sdName = element["sdName"].asString();
    unit.suName = element["suName"].asString();
    out.push_back(unit);
  }
}

// Reads one datastore and returns the text of its type.
std::string readDatastore(KestrelVisor_rest_api& api, const Json::Value& document,
                          ST_DATASTORE_INFO& ds) {
  const Json::Value& element = kestrelvisor::asDocument(document);
  ds.urn = element["urn"].asString();
  ds.uri = element["uri"].asString();
  ds.name = element["name"].asString();
  std::string storageType = element["storageType"].asString();
  api.setDatastoreType(storageType, ds.storageType);
  ds.hosts = joinHosts(element["hosts"]);
  ds.suUrn = element["suUrn"].asString();
  ds.actualCapacityGB = element["actualCapacityGB"].asUInt();
  ds.actualFreeSizeGB = element["actualFreeSizeGB"].asUInt();
  if (!element["version"].isNull()) ds.version = element["version"].asString();
  readStorageUnits(element["storageUnits"], ds.storageUnits);
  return storageType;
}

// Reads the datastores of an answer, as KestrelVisor_rest_api::toDataStores, whose name its log
// records bear. storageTypes takes the text of each one's type when they are read in place, and
// none when each is written out and parsed again.
bool readDatastores(KestrelVisor_rest_api& api, const std::string& json, datastores_t& out,
                    std::list<std::string>& storageTypes) {
  constexpr std::string_view kTold = "KestrelVisor_rest_api::toDataStores()";
  out.clear();
  storageTypes.clear();
  Json::Value root;
  if (!CJsonUtils::StringToJson(json, root)) {
    KV_LOG_BY(kTold, kestrelvisor::kDiskLibTag, kError, "Failed to parse the JSON string");
    return false;
  }
  const Json::Value& answer = kestrelvisor::asDocument(root);
  const Json::ArrayIndex total = answer["total"].asUInt();
  if (total == 0) return true;
  const Json::Value& datastores = answer["datastores"];
  const bool inPlace = kestrelvisor::survivesRewriting(json);
  const Json::StreamWriterBuilder writer;
  for (Json::ArrayIndex index = 0; index < total; ++index) {
    const auto datastore = kestrelvisor::allocateOrNull<ST_DATASTORE_INFO>();
    if (!datastore) {
      KV_LOG_BY(kTold, kestrelvisor::kDiskLibTag, kProgress,
                "Failed to allocate memory for Data Store object");
      return false;
    }
    datastore->storageType = EN_DATASTORAGE_TYPE_NOT_SUPPORT;
    if (inPlace) {
      storageTypes.push_back(readDatastore(api, datastores[index], *datastore));
    } else {
      // One that cannot be read stays as "not supported", and addDatastore drops it.
      static_cast<void>(
          api.getDatastoreInfo(kestrelvisor::writeJson(writer, datastores[index]), *datastore));
    }
    out.push_back(datastore);
  }
  return true;
}

// Takes an answer in. One that repeats the last is not read again: only its log records are written
// once more.
bool takeAnswer(KestrelVisor_rest_api& api, std::string& answer, DatastoreList& list) {
  if (list.repeatable && list.answer == answer) {
    EN_DATASTORAGE_TYPE known{};
    for (const std::string& text : list.storageTypes) api.setDatastoreType(text, known);
    return true;
  }
  list.repeatable = false;
  const bool read = readDatastores(api, answer, list.records, list.storageTypes);
  list.repeatable = read && list.storageTypes.size() == list.records.size();
  if (list.repeatable) list.answer = std::move(answer);
  return read;
}

// Fetches the datastores of a path. errorCode receives the REST layer's code, whatever the result;
// list may be partly filled after a failure.
bool fetchDatastores(KestrelVisor_rest_api& api, VRM_INFO& vrm, const std::string& path,
                     DatastoreList& list, std::string& errorCode) {
  KestrelVisorErrorMessage error;
  api.protocolVersion = vrm.restVersion;
  const std::string url = kestrelvisor::managerUrl(vrm, vrm.uri + path);
  KestrelVisorCertToken token;
  std::string answer;
  const bool answered =
      api.checkLoginAgainAndCert(vrm, error, token) &&
      api.sendMessageToVrmRetry(vrm, token, SEND_METHOD_GET, url, "", answer, error);
  if (!answered) list = DatastoreList();
  const bool listed = answered && takeAnswer(api, answer, list);
  errorCode = error.errorCode;
  return listed;
}

}  // namespace

bool kestrelvisor::appendDatastoresOfHost(KestrelVisor_rest_api& api, VRM_INFO& vrm,
                                          const std::string& cnaUrn, datastores_t& out,
                                          std::string& errorCode, DatastoreList& list) {
  // The manager has no filter by host: the host's datastores are picked out of the site's.
  const bool listed = fetchDatastores(api, vrm, "/datastores?status=NORMAL", list, errorCode);
  for (const auto& datastore : list.records) {
    if (datastore->hosts.find(cnaUrn) != std::string::npos) api.addDatastore(datastore, out);
  }
  return listed;
}

bool KestrelVisor_rest_api::getDataStoreOfCluster(VRM_INFO& vrm, const std::string& clusterUrn,
                                                  datastores_t& out, std::string& errorCode) {
  const std::string path = "/datastores?scope=" + clusterUrn + "&status=NORMAL";
  DatastoreList list;
  const bool listed = fetchDatastores(*this, vrm, path, list, errorCode);
  for (const auto& datastore : list.records) addDatastore(datastore, out);
  return listed;
}

bool KestrelVisor_rest_api::getDataStoreOfCna(VRM_INFO& vrm, const std::string& cnaUrn,
                                              datastores_t& out, std::string& errorCode) {
  DatastoreList list;
  return kestrelvisor::appendDatastoresOfHost(*this, vrm, cnaUrn, out, errorCode, list);
}

bool KestrelVisor_rest_api::toDataStores(const std::string& json, datastores_t& out) {
  std::list<std::string> storageTypes;
  return readDatastores(*this, json, out, storageTypes);
}

bool KestrelVisor_rest_api::getDatastoreInfo(const std::string& json, ST_DATASTORE_INFO& ds) {
  Json::Value root;
  if (!CJsonUtils::StringToJson(json, root)) {
    KV_LOG_AS(kestrelvisor::kDiskLibTag, kError, "Parse the string is failed!");
    return false;
  }
  readDatastore(*this, root, ds);
  return true;
}

bool KestrelVisor_rest_api::setDatastoreType(const std::string& text, EN_DATASTORAGE_TYPE& type) {
  KV_LOG(kInfo, "datastoreType:", text);
  for (const StorageType& known : kStorageTypes) {
    if (known.text != text) continue;
    type = known.type;
    return true;
  }
  type = EN_DATASTORAGE_TYPE_NOT_SUPPORT;
  KV_LOG_AS(kestrelvisor::kDiskLibTag, kWarning, "The storage type[", text, "] is not supported.");
  return true;
}

void KestrelVisor_rest_api::addDatastore(const boost::shared_ptr<ST_DATASTORE_INFO>& ds,
                                         datastores_t& out) {
  if (ds->storageType != EN_DATASTORAGE_TYPE_NOT_SUPPORT) out.push_back(ds);
}
