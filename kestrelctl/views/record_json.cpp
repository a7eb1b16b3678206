#include "kestrelctl/views/record_json.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/item_kind.h"

namespace kestrelvisor::ctl {
namespace {

Json::Value parentJson(const ReplyIndex& index, const IndexedObject& object) {
  return object.parent ? jsonNumber(index.objects()[*object.parent].row->id()) : Json::Value();
}

void addFacts(const IndexedObject& object, Json::Value& value) {
  const non_vm_record& other = *object.other;
  value["uri"] = jsonOf(other.mo_reference());
  value["reference"] = jsonOf(other.default_moref());
  value["ip"] = jsonOf(other.ip());
  value["arch"] = jsonOf(other.arch());
  value["cpuVendor"] = jsonOf(other.cpuvendor());
  value["cpus"] = static_cast<Json::Int64>(other.cpu_num());
  value["drs"] = other.drs();
  Json::Value reached = emptyJsonList();
  for (const datastore_record* datastore : object.datastores) {
    reached.append(jsonNumber(datastore->id()));
  }
  value["datastores"] = std::move(reached);
}

Json::Value diskJson(const ReplyIndex& index, const disk_record& disk) {
  const datastore_record* const datastore = index.datastoreOf(disk);
  Json::Value value = emptyJsonObject();
  value["number"] = jsonNumber(disk.disknumber());
  value["name"] = jsonOf(disk.diskname());
  value["uuid"] = jsonOf(disk.diskuuid());
  value["guid"] = jsonOf(disk.objectguid());
  value["bus"] = busNameOf(disk);
  value["sizeKiB"] = jsonNumber(disk.disksize());
  value["datastore"] = datastore == nullptr ? Json::Value() : jsonNumber(datastore->id());
  value["datastoreUri"] = jsonOf(disk.datastoremoref());
  return value;
}

Json::Value countsJson(const ReplyIndex& index) {
  const ScanEnvironmentReply& reply = index.reply();
  Json::Value counts = emptyJsonObject();
  counts["machines"] = reply.machine_records_size();
  counts["disks"] = reply.disk_records_size();
  counts["datastores"] = reply.datastore_records_size();
  counts["otherObjects"] = reply.non_vm_records_size();
  counts["clusters"] = jsonNumber(index.count(ObjectKind::cluster));
  counts["hosts"] = jsonNumber(index.count(ObjectKind::host));
  return counts;
}

}  // namespace

Json::Value objectJson(const ReplyIndex& index, const IndexedObject& object) {
  Json::Value value = emptyJsonObject();
  value["id"] = jsonNumber(object.row->id());
  value["parent"] = parentJson(index, object);
  value["kind"] = itemKindName(itemKindOf(object));
  value["type"] = object.row->type();
  value["name"] = jsonOf(object.row->name());
  value["guid"] = jsonOf(object.row->guid());
  if (object.other != nullptr) addFacts(object, value);
  return value;
}

Json::Value machineJson(const ReplyIndex& index, const IndexedObject& object) {
  const machine_record& record = *object.machine;
  Json::Value value = emptyJsonObject();
  value["id"] = jsonNumber(record.vmid());
  value["parent"] = parentJson(index, object);
  value["name"] = jsonOf(record.name());
  value["guestOS"] = jsonOf(record.guestos());
  value["uri"] = jsonOf(record.mo());
  value["uuid"] = jsonOf(record.uuid());
  value["canonicalUuid"] = jsonOf(record.canonicaluuid());
  value["guid"] = jsonOf(record.objectguid());
  value["hostGuid"] = record.hostguid().empty() ? Json::Value() : jsonOf(record.hostguid());
  value["group"] = groupNameOf(record);
  value["sizeKiB"] = jsonNumber(record.totalsize());
  return value;
}

Json::Value machineWithDisksJson(const ReplyIndex& index, const IndexedObject& object) {
  Json::Value value = machineJson(index, object);
  Json::Value disks = emptyJsonList();
  for (const disk_record* disk : object.disks) disks.append(diskJson(index, *disk));
  value["disks"] = std::move(disks);
  return value;
}

Json::Value diskOfMachineJson(const ReplyIndex& index, const SelectedDisk& disk) {
  Json::Value value = diskJson(index, *disk.disk);
  value["machine"] = jsonNumber(disk.disk->vmid());
  return value;
}

Json::Value datastoreJson(const ReplyIndex& index, const datastore_record& datastore) {
  Json::Value value = emptyJsonObject();
  value["id"] = jsonNumber(datastore.id());
  value["name"] = jsonOf(datastore.name());
  value["uri"] = jsonOf(datastore.mo_reference());
  value["sizeKiB"] = jsonNumber(datastore.size());
  value["freeKiB"] = jsonNumber(datastore.freesize());
  Json::Value users = emptyJsonList();
  for (const std::size_t position : index.usersOf(datastore)) {
    users.append(jsonNumber(index.objects()[position].row->id()));
  }
  value["reachedBy"] = std::move(users);
  return value;
}

Json::Value summaryJson(const ReplyIndex& index, const ReplyNotes& notes) {
  const ScanEnvironmentReply& reply = index.reply();
  Json::Value value = emptyJsonObject();
  value["restVersion"] =
      reply.environment_version_size() > 0 ? jsonOf(reply.environment_version(0)) : Json::Value();
  value["takenAt"] = reply.timestamp_size() > 0 ? jsonNumber(reply.timestamp(0)) : Json::Value();
  value["counts"] = countsJson(index);
  value["accounting"] = notes.accounting ? jsonOf(*notes.accounting) : Json::Value();
  value["warnings"] = jsonOf(notes.warnings);
  return value;
}

}  // namespace kestrelvisor::ctl
