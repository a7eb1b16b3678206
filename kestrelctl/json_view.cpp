#include "kestrelctl/reply_views.h"
#include "kestrelctl/terminal_text.h"

#include <json/json.h>

namespace kestrelvisor::ctl {
namespace {

Json::Value text(const std::string& value) { return validUtf8(value); }

// Sizes and numbers of the reply are unsigned and have 64 bits.
Json::Value number(std::uint64_t value) { return static_cast<Json::UInt64>(value); }

Json::Value countOf(std::size_t value) { return static_cast<Json::UInt64>(value); }

Json::Value emptyList() { return {Json::arrayValue}; }

std::string busName(std::int32_t type) {
  switch (type) {
    case 1:
      return "IDE";
    case 2:
      return "SCSI";
    case 5:
      return "VIRTIO";
    default:
      return "other";
  }
}

std::string groupName(std::int32_t type) {
  switch (type) {
    case 0:
      return "general";
    case 1:
      return "open stack";
    case 2:
      return "KM";
    case 3:
      return "VDI";
    default:
      return "other";
  }
}

class JsonWriter {
 public:
  explicit JsonWriter(const ReplyIndex& index) : index_(index), reply_(index.reply()) {}

  Json::Value write() const {
    Json::Value document(Json::objectValue);
    document["restVersion"] =
        reply_.environment_version_size() > 0 ? text(reply_.environment_version(0)) : Json::Value();
    document["takenAt"] = reply_.timestamp_size() > 0 ? number(reply_.timestamp(0)) : Json::Value();
    document["counts"] = counts();
    document["objects"] = objects();
    document["machines"] = machines();
    document["datastores"] = datastores();
    return document;
  }

 private:
  Json::Value counts() const {
    Json::Value counts(Json::objectValue);
    counts["machines"] = reply_.machine_records_size();
    counts["disks"] = reply_.disk_records_size();
    counts["datastores"] = reply_.datastore_records_size();
    counts["otherObjects"] = reply_.non_vm_records_size();
    counts["clusters"] = countOf(index_.count(ObjectKind::cluster));
    counts["hosts"] = countOf(index_.count(ObjectKind::host));
    return counts;
  }

  Json::Value parentOf(const IndexedObject& object) const {
    return object.parent ? number(index_.objects()[*object.parent].row->id()) : Json::Value();
  }

  // What every object has, machine or not.
  Json::Value object(const IndexedObject& object) const {
    Json::Value value(Json::objectValue);
    value["id"] = number(object.row->id());
    value["parent"] = parentOf(object);
    const std::string kind = kindName(object.kind());
    value["kind"] = kind.empty() ? "other" : kind;
    value["type"] = object.row->type();
    value["name"] = text(object.row->name());
    value["guid"] = text(object.row->guid());
    return value;
  }

  Json::Value objects() const {
    Json::Value list = emptyList();
    for (const IndexedObject& entry : index_.objects()) {
      Json::Value value = object(entry);
      if (entry.other != nullptr) addFacts(entry, value);
      list.append(std::move(value));
    }
    return list;
  }

  static void addFacts(const IndexedObject& entry, Json::Value& value) {
    const non_vm_record& other = *entry.other;
    value["uri"] = text(other.mo_reference());
    value["reference"] = text(other.default_moref());
    value["ip"] = text(other.ip());
    value["arch"] = text(other.arch());
    value["cpuVendor"] = text(other.cpuvendor());
    value["cpus"] = static_cast<Json::Int64>(other.cpu_num());
    value["drs"] = other.drs();
    Json::Value reached = emptyList();
    for (const datastore_record* datastore : entry.datastores) {
      reached.append(number(datastore->id()));
    }
    value["datastores"] = std::move(reached);
  }

  Json::Value machines() const {
    Json::Value list = emptyList();
    for (const IndexedObject& entry : index_.objects()) {
      if (entry.machine != nullptr) list.append(machine(entry));
    }
    return list;
  }

  Json::Value machine(const IndexedObject& entry) const {
    const machine_record& record = *entry.machine;
    Json::Value value(Json::objectValue);
    value["id"] = number(record.vmid());
    value["parent"] = parentOf(entry);
    value["name"] = text(record.name());
    value["guestOS"] = text(record.guestos());
    value["uri"] = text(record.mo());
    value["uuid"] = text(record.uuid());
    value["canonicalUuid"] = text(record.canonicaluuid());
    value["guid"] = text(record.objectguid());
    value["hostGuid"] = record.hostguid().empty() ? Json::Value() : text(record.hostguid());
    value["group"] = groupName(record.virtualgrouptype());
    value["sizeKiB"] = number(record.totalsize());
    Json::Value disks = emptyList();
    for (const disk_record* entryDisk : entry.disks) disks.append(disk(*entryDisk));
    value["disks"] = std::move(disks);
    return value;
  }

  Json::Value disk(const disk_record& record) const {
    const datastore_record* const datastore = index_.datastoreOf(record);
    Json::Value value(Json::objectValue);
    value["number"] = number(record.disknumber());
    value["name"] = text(record.diskname());
    value["uuid"] = text(record.diskuuid());
    value["guid"] = text(record.objectguid());
    value["bus"] = busName(record.disktype());
    value["sizeKiB"] = number(record.disksize());
    value["datastore"] = datastore == nullptr ? Json::Value() : number(datastore->id());
    value["datastoreUri"] = text(record.datastoremoref());
    return value;
  }

  Json::Value datastores() const {
    Json::Value list = emptyList();
    for (const datastore_record& record : reply_.datastore_records()) {
      Json::Value value(Json::objectValue);
      value["id"] = number(record.id());
      value["name"] = text(record.name());
      value["uri"] = text(record.mo_reference());
      value["sizeKiB"] = number(record.size());
      value["freeKiB"] = number(record.freesize());
      Json::Value users = emptyList();
      for (const std::size_t position : index_.usersOf(record)) {
        users.append(number(index_.objects()[position].row->id()));
      }
      value["reachedBy"] = std::move(users);
      list.append(std::move(value));
    }
    return list;
  }

  const ReplyIndex& index_;
  const ScanEnvironmentReply& reply_;
};

}  // namespace

std::string jsonView(const ReplyIndex& index) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, JsonWriter(index).write()) + "\n";
}

}  // namespace kestrelvisor::ctl
