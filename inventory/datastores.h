#pragma once

#include "rest/kestrelvisor_rest_api.h"

#include <list>
#include <string>

namespace kestrelvisor {

// The datastores of one answer. While a manager repeats that answer to the byte, as it does for
// host after host, the records stay.
struct DatastoreList {
  std::string answer;
  datastores_t records;
  std::list<std::string> storageTypes;  // of each record, as the manager wrote it
  bool repeatable = false;              // the answer was read to its end, and in place
};

// Does what KestrelVisor_rest_api::getDataStoreOfCna does, which starts with an empty list. The
// hosts of one listing hand theirs on; the records are shared among them.
bool appendDatastoresOfHost(KestrelVisor_rest_api& api, VRM_INFO& vrm, const std::string& cnaUrn,
                            datastores_t& out, std::string& errorCode, DatastoreList& list);

}  // namespace kestrelvisor
