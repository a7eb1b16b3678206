#include "base/list_room.h"
#include "inventory/inventory_records.h"
#include "platform/contract/platform.h"

#include <charconv>
#include <map>
#include <system_error>

namespace {

using Datastore = _datstore_ManagedObjectReference;

// Returns 0 for a text that is not wholly a number or does not fit.
std::uint64_t numberOf(const std::string& text) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? number : 0;
}

void addDatastore(ScanEnvironmentReply& reply, const Datastore& datastore, unsigned long id) {
  datastore_record record;
  record.set_name(datastore.name);
  record.set_mo_reference(datastore.uri);
  record.set_id(id);
  record.set_size(numberOf(datastore.capacity));
  record.set_freesize(numberOf(datastore.freeSpace));
  kestrelvisor::withRoomForOne(*reply.mutable_datastore_records()).Add()->CopyFrom(record);
}

void addRelation(ScanEnvironmentReply& reply, unsigned long computer, unsigned long storage) {
  resource_relation_record record;
  record.set_computer_resource_id(computer);
  record.set_storage_resource_id(storage);
  kestrelvisor::withRoomForOne(*reply.mutable_resource_relation_records()).Add()->CopyFrom(record);
}

}  // namespace

void dumpDataStore(ScanEnvironmentReply& reply, std::map<std::string, unsigned long>& datastoreIds,
                   unsigned long& nextDatastoreId, unsigned long computerResourceId,
                   std::list<Datastore> datastores, std::string& /*text*/) {
  for (const Datastore& datastore : datastores) {
    const auto [entry, isNew] = datastoreIds.try_emplace(datastore.uri, nextDatastoreId);
    if (isNew) {
      ++nextDatastoreId;
      addDatastore(reply, datastore, entry->second);
    }
    addRelation(reply, computerResourceId, entry->second);
  }
}
