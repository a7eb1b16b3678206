#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>

class ScanEnvironmentReply;
class VRM_INFO;
struct _datstore_ManagedObjectReference;  // NOLINT(bugprone-reserved-identifier)

// Sets the defaults of a fresh connection record, at least its type.
void SetDefaultValueForVRMInfo(VRM_INFO& vrm);

// Makes the text of a UUID from any text; the same text always gives the same UUID.
std::string EnvProxy_string_to_uuid(std::string& text);

// Brings a URL into the form that the host wants on the wire. It may be called at any time, process
// exit included.
std::string FormatFullUrl(const std::string& url);

// The host's clock.
class DateTimeUtility {
 public:
  // Returns the current time at second resolution, in the host's encoding.
  static std::uint64_t getCurrentDateTimeWithSecondFormat();
};

// Numbers the objects of one scan.
class ObjectIndex {
 public:
  // Returns a number that no earlier call on this object returned; never 2^64 - 1.
  std::uint64_t getIndex();

 private:
  std::uint64_t count_ = 0;
};

// Adds the datastores of one host or cluster to a reply.
//
// Adds one resource_relation_record for each datastore. A datastore whose uri is not yet a key of
// datastoreIds gets the number nextDatastoreId, which is then increased, an entry in datastoreIds
// and a datastore_record with its capacity and freeSpace texts as numbers.
//
// computerResourceId is the index of the host's or cluster's node. datastoreIds and nextDatastoreId
// belong to the caller, who passes the same two for all nodes of one reply. text is empty.
void dumpDataStore(ScanEnvironmentReply& reply, std::map<std::string, unsigned long>& datastoreIds,
                   unsigned long& nextDatastoreId, unsigned long computerResourceId,
                   std::list<_datstore_ManagedObjectReference> datastores, std::string& text);
