#pragma once

#include "environment.pb.h"

#include <optional>
#include <string>

namespace kestrelvisor::ctl::test {

inline void addRow(ScanEnvironmentReply& reply, std::uint64_t id, int type, const std::string& name,
                   std::optional<std::uint64_t> parent, bool direct = true) {
  tree_record& row = *reply.add_tree_records();
  row.set_id(id);
  row.set_type(type);
  row.set_name(name);
  row.set_guid("guid-" + std::to_string(id));
  if (parent) row.set_parentid(*parent);
  row.set_directparent(direct);
}

inline void addMachine(ScanEnvironmentReply& reply, std::uint64_t id, const std::string& guest,
                       std::uint64_t sizeKiB) {
  machine_record& machine = *reply.add_machine_records();
  machine.set_vmid(id);
  machine.set_name("machine");
  machine.set_objectguid("machine-" + std::to_string(id));
  machine.set_guestos(guest);
  machine.set_mo("/service/vms/" + std::to_string(id));
  machine.set_totalsize(sizeKiB);
  disk_record& disk = *reply.add_disk_records();
  disk.set_vmid(id);
  disk.set_objectguid("disk-" + std::to_string(id));
  disk.set_disksize(sizeKiB);
  disk.set_disktype(5);
  disk.set_datastoremoref("/service/datastores/1");
}

// Site 1 with cluster 2, host 3 in it and machines 4 and 5 on that; host 6 without cluster. The
// host in the cluster reaches datastore 0.
inline ScanEnvironmentReply sampleReply() {
  ScanEnvironmentReply reply;
  addRow(reply, 1, 1, "Oslo", std::nullopt);
  addRow(reply, 2, 6, "east", 1);
  addRow(reply, 6, 5, "lonely", 1);
  addRow(reply, 3, 5, "cna", 2);
  addRow(reply, 3, 5, "cna", 1, false);
  addRow(reply, 4, 7, "web", 3);
  addRow(reply, 4, 7, "web", 2, false);
  addRow(reply, 5, 7, "database", 3);
  addMachine(reply, 4, "Debian", 40ULL << 20);
  addMachine(reply, 5, "Windows", 1536ULL << 20);
  datastore_record& datastore = *reply.add_datastore_records();
  datastore.set_id(0);
  datastore.set_name("lun");
  datastore.set_mo_reference("/service/datastores/1");
  datastore.set_size(2048ULL << 20);
  datastore.set_freesize(512ULL << 20);
  resource_relation_record& relation = *reply.add_resource_relation_records();
  relation.set_computer_resource_id(3);
  relation.set_storage_resource_id(0);
  non_vm_record& host = *reply.add_non_vm_records();
  host.set_non_vm_object_id(3);
  host.set_ip("10.0.0.3");
  host.set_arch("x86");
  host.set_cpuvendor("Intel");
  host.set_cpu_num(2);
  reply.add_timestamp(86400);
  reply.add_environment_version("6.5");
  return reply;
}

}  // namespace kestrelvisor::ctl::test
