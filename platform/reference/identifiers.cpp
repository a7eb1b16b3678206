#include "platform/contract/helpers.h"
#include "platform/reference/clock.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <chrono>

namespace {

// The namespace of every UUID made here, 88bc9298-f0e8-4422-87ef-14a7564e70f9. GUIDs that hosts
// have stored depend on it: it never changes.
constexpr boost::uuids::uuid kNamespace = {{0x88, 0xbc, 0x92, 0x98, 0xf0, 0xe8, 0x44, 0x22, 0x87,
                                            0xef, 0x14, 0xa7, 0x56, 0x4e, 0x70, 0xf9}};

}  // namespace

// RFC 4122, version 5: SHA-1 over the namespace and all bytes of the text.
std::string EnvProxy_string_to_uuid(std::string& text) {
  boost::uuids::name_generator_sha1 nameToUuid(kNamespace);
  return boost::uuids::to_string(nameToUuid(text));
}

// From 1 on: a reader who ignores presence never takes an unset parent, 0, for a node. The last
// number of the range lies beyond what any process can count to.
std::uint64_t ObjectIndex::getIndex() { return ++count_; }

// Seconds since 1970, UTC.
std::uint64_t DateTimeUtility::getCurrentDateTimeWithSecondFormat() {
  const auto sinceEpoch = kestrelvisor::currentTime().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count());
}
