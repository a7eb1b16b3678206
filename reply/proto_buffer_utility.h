#pragma once

#include "base/list_room.h"
#include "base/log.h"
#include "environment.pb.h"
#include "platform/contract/helpers.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>

template <class T>
class tree;

namespace kestrelvisor {

inline constexpr std::uint64_t kNoParentIndex = ~std::uint64_t{0};

inline constexpr std::initializer_list<std::int32_t> kKindsWithDatastores = {
    kKindHost, kKindCluster, kKind12, kKind13, kKind14};
inline constexpr std::initializer_list<std::int32_t> kKindsWithoutNonVmRecord = {kKindMachine,
                                                                                 kKind23};

inline bool isOneOf(std::int32_t type, std::initializer_list<std::int32_t> kinds) {
  for (const std::int32_t kind : kinds) {
    if (type == kind) return true;
  }
  return false;
}

// Adds one row of a node's parent relation.
template <class T>
void addTreeRecord(const T& node, std::uint64_t parent, bool direct, ScanEnvironmentReply& reply) {
  tree_record record;
  record.set_id(node.index);
  record.set_type(node.type);
  record.set_name(node.name);
  record.set_guid(node.objectGUID);
  if (parent != kNoParentIndex) record.set_parentid(parent);
  record.set_directparent(direct);
  withRoomForOne(*reply.mutable_tree_records()).Add()->Swap(&record);
}

template <class T>
const std::string& recordedIp(const T& node) {
  const bool byName = node.type == kKind14 || (node.type == kKind12 && node.ip.empty());
  return byName ? node.name : node.ip;
}

template <class T>
const std::string& recordedReference(const T& node) {
  if (node.type == kKind9) return node.moRefOfKind9;
  if (isOneOf(node.type, {kKind12, kKind13, kKind14})) return node.moRefOfKind12;
  return node.moRef;
}

// Add a piece to a line of the tester dump: texts as they are, numbers in plain decimal, whatever
// flags and locale the host gave to std::cout.
inline void addPiece(std::string& line, std::string_view text) { line.append(text); }
inline void addPiece(std::string& line, char c) { line += c; }
template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
void addPiece(std::string& line, Number number) {
  line += std::to_string(number);
}

// Ends a line of the tester dump: it goes to standard output as it is and is flushed.
inline void endTesterLine(std::string& line) {
  line += '\n';
  std::cout.write(line.data(), static_cast<std::streamsize>(line.size()));
  std::cout.flush();
}

template <class... Pieces>
void printTesterLine(const Pieces&... pieces) {
  std::string line;
  (addPiece(line, pieces), ...);
  endTesterLine(line);
}

// Adds a column of a table, filled up with blanks to its width. A longer value is not cut.
template <class Value>
void addColumn(std::string& line, std::size_t width, const Value& value) {
  const std::size_t end = line.size() + width;
  addPiece(line, value);
  if (line.size() < end) line.append(end - line.size(), ' ');
}

// Prints one row of the datastores' table, left-justified, a blank after each column but the last.
template <class Id, class Size, class Count>
void printDatastoreRow(const Id& id, const std::string& name, const std::string& reference,
                       const Size& size, const Size& freeSize, const Count& count) {
  std::string line;
  addColumn(line, 8, id);
  addPiece(line, ' ');
  addColumn(line, 16, name);
  addPiece(line, ' ');
  addColumn(line, 48, reference);
  addPiece(line, ' ');
  addColumn(line, 8, size);
  addPiece(line, ' ');
  addColumn(line, 12, freeSize);
  addPiece(line, ' ');
  addColumn(line, 12, count);
  endTesterLine(line);
}

inline void printTreeRecords(const ScanEnvironmentReply& reply) {
  printTesterLine("ID\tType\tName\t\t\tParentID\tDirectParent\tRecordSize");
  for (const tree_record& record : reply.tree_records()) {
    printTesterLine(record.id(), '\t', record.type(), '\t', record.name(), "\t\t\t",
                    record.parentid(), '\t', record.directparent(), '\t',
                    reply.tree_records_size());
  }
  printTesterLine();
}

inline void printMachineRecords(const ScanEnvironmentReply& reply) {
  printTesterLine("VMID\tGuestOS\t\t\t\tName\t\t\tDiskNumber\tTotalSize\tMO\tRecordSize");
  for (const machine_record& record : reply.machine_records()) {
    printTesterLine(record.vmid(), '\t', record.guestos(), "\t\t\t", record.name(), "\t\t\t",
                    record.disknumber(), '\t', record.totalsize(), '\t', record.mo(), '\t',
                    reply.machine_records_size());
  }
  printTesterLine();
}

// No empty line behind: the relations follow at once.
inline void printDiskRecords(const ScanEnvironmentReply& reply) {
  printTesterLine(
      "VMID\tDiskUUID\t\t\t\tDiskName\t\t\tDiskNumber\tDiskSize\t\tDiskType\tDatastoreMoref\t"
      "RecordSize");
  for (const disk_record& record : reply.disk_records()) {
    printTesterLine(record.vmid(), '\t', record.diskuuid(), '\t', record.diskname(), '\t',
                    record.disknumber(), '\t', record.disksize(), "\t\t", record.disktype(), '\t',
                    record.datastoremoref(), '\t', reply.disk_records_size());
  }
}

inline void printRelationRecords(const ScanEnvironmentReply& reply) {
  printTesterLine("computer_resource_id\tstorage_resource_id\tRecordSize");
  for (const resource_relation_record& record : reply.resource_relation_records()) {
    printTesterLine(record.computer_resource_id(), "\t\t\t", record.storage_resource_id(), "\t\t\t",
                    reply.resource_relation_records_size());
  }
  printTesterLine();
}

inline void printDatastoreRecords(const ScanEnvironmentReply& reply) {
  constexpr std::string_view kSize = "size";
  constexpr std::string_view kFreeSize = "freesize";
  printDatastoreRow("id", "name", "mo_reference", kSize, kFreeSize, "RecordSize");
  for (const datastore_record& record : reply.datastore_records()) {
    printDatastoreRow(record.id(), record.name(), record.mo_reference(), record.size(),
                      record.freesize(), reply.datastore_records_size());
  }
  printTesterLine();
}

inline void printNonVmRecords(const ScanEnvironmentReply& reply) {
  printTesterLine("non_VM_object_id\tobject_type\tmo_reference\tdefault_moRef\tip\tDRS");
  for (const non_vm_record& record : reply.non_vm_records()) {
    printTesterLine(record.non_vm_object_id(), "\t\t\t", record.object_type(), "\t\t",
                    record.mo_reference(), "\t\t\t", record.default_moref(), "\t\t\t\t",
                    record.ip(), "\t\t\t\t\t", record.drs() ? "true" : "false", "\t\t\t\t\t\t",
                    reply.non_vm_records_size());
  }
  printTesterLine();
}

}  // namespace kestrelvisor

// Adds the record of one object that is not a virtual machine.
template <class T>
void dumpNonVmObjects(const T& node, ScanEnvironmentReply& reply) {
  non_vm_record record;
  record.set_non_vm_object_id(node.index);
  record.set_object_type(node.type);
  record.set_mo_reference(node.moRef);
  record.set_objectguid(node.objectGUID);
  record.set_ip(kestrelvisor::recordedIp(node));
  record.set_cpu_num(node.cpu_num);
  record.set_arch(node.arch);
  record.set_cpuvendor(node.cpuVendor);
  record.set_default_moref(kestrelvisor::recordedReference(node));
  record.set_drs(node.DRS);
  kestrelvisor::withRoomForOne(*reply.mutable_non_vm_records()).Add()->Swap(&record);
}

// Turns a tree into the records of a reply, and prints a reply for testers. T is the tree's node;
// tree<T> must be complete where the functions are used.
template <class T>
class ProtoBufferUtility {
 public:
  // Adds the rows, datastores and non-VM records of every valid node, in position order. text is
  // handed to dumpDataStore. The tree is only read.
  static void dumpToTreeTable(tree<T>& tree, ScanEnvironmentReply& reply, std::string& text) {
    using kestrelvisor::isOneOf;
    using kestrelvisor::kEnvEngineTag;
    KV_LOG_AS(kEnvEngineTag, kInfo, "begin to dump the tree record to protobuf message ");
    std::map<std::string, unsigned long> datastoreIds;
    unsigned long nextDatastoreId = 0;
    for (std::uint64_t position = tree.begin; position != tree.end; ++position) {
      const T& node = tree.node(position);
      if (!node.isValid) {
        KV_LOG_AS(kEnvEngineTag, kWarning, "The tree node[", node.name, ",", node.moRef,
                  "] is invalid !");
        continue;
      }
      kestrelvisor::addTreeRecord(node, node.parentIndex, true, reply);
      if (isOneOf(node.type, kestrelvisor::kKindsWithDatastores)) {
        dumpDataStore(reply, datastoreIds, nextDatastoreId, node.index, node.datastores, text);
      }
      if (!isOneOf(node.type, kestrelvisor::kKindsWithoutNonVmRecord))
        dumpNonVmObjects(node, reply);
      KV_LOG_AS(kEnvEngineTag, kInfo, "current node index:", node.index, ",name:", node.name,
                ",type:", node.type, ",GUID:", node.GUID, "parentindex:", node.parentIndex, " has ",
                node.indirectParents.size(), " indirect parent node");
      for (const std::uint64_t ancestor : node.indirectParents) {
        kestrelvisor::addTreeRecord(node, ancestor, false, reply);
      }
    }
    KV_LOG_AS(kEnvEngineTag, kInfo, "end of dumping the tree record to protobuf message");
  }

  // Prints a reply, which must hold a timestamp, to standard output. The stream ends with default
  // adjustment and no field width; its other state stays.
  static void dumpScanEnvironmentReplyFoTester(const ScanEnvironmentReply& reply) {
    using kestrelvisor::printTesterLine;
    const std::string rule(69, '=');
    printTesterLine(rule);
    printTesterLine("DEBUG:dump the tree, machine and disk records for tester");
    printTesterLine(
        "DEBUG: VMware Engine send these record(s) to AdminNode:", reply.tree_records_size(),
        " tree(s), ", reply.disk_records_size(), " disk(s), ", reply.machine_records_size(),
        " machine(s),", " timestamp:", reply.timestamp(0));
    kestrelvisor::printTreeRecords(reply);
    kestrelvisor::printMachineRecords(reply);
    kestrelvisor::printDiskRecords(reply);
    kestrelvisor::printRelationRecords(reply);
    kestrelvisor::printDatastoreRecords(reply);
    kestrelvisor::printNonVmRecords(reply);
    printTesterLine(rule);
    std::cout.unsetf(std::ios_base::adjustfield);
    std::cout.width(0);
  }
};
