#pragma once

#include "inventory/inventory_records.h"
#include "tests/support/inventory_builders.h"

#include <boost/make_shared.hpp>

#include <string>

namespace kestrelvisor::test {

// An object of a kind as a query hands it on, with base fields made from its number.
template <class Record>
boost::shared_ptr<Record> anObject(std::int32_t type, const std::string& kind, int number) {
  const auto object = boost::make_shared<Record>();
  KestrelVisorObj& base = *object;
  const std::string n = std::to_string(number);
  base.type = type;
  base.name = kind + "-" + n;
  base.objectStr = "/service/sites/1/" + kind + "s/" + n;
  base.oldGuid = "old-" + kind + "-" + n;
  base.guid = "guid-" + kind + "-" + n;
  return object;
}

inline boost::shared_ptr<CNA_INFO> hostObject(int number) {
  return anObject<CNA_INFO>(5, "host", number);
}

inline boost::shared_ptr<CLUSTER_INFO> clusterObject(int number) {
  return anObject<CLUSTER_INFO>(6, "cluster", number);
}

inline boost::shared_ptr<VM_INFO> machineObject(int number) {
  const auto machine = anObject<VM_INFO>(7, "vm", number);
  machine->detail.uuid = machineUuid(number);
  return machine;
}

}  // namespace kestrelvisor::test
