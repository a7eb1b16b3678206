#include "kestrelctl/views/reply_json.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/views/json_lines.h"
#include "kestrelctl/views/record_json.h"

namespace kestrelvisor::ctl {
namespace {

void addLines(const ReplyIndex& index, const ReplySelection& selection, JsonLines& lines) {
  for (const std::size_t position : selection.objects) {
    lines.add("object", objectJson(index, index.objects()[position]));
  }
  for (const datastore_record* datastore : selection.datastores) {
    lines.add("datastore", datastoreJson(index, *datastore));
  }
  for (const std::size_t position : selection.machines) {
    lines.add("machine", machineJson(index, index.objects()[position]));
  }
  for (const SelectedDisk& disk : selection.disks) {
    lines.add("disk", diskOfMachineJson(index, disk));
  }
}

Json::Value datastoresJson(const ReplyIndex& index,
                           const std::vector<const datastore_record*>& datastores) {
  Json::Value list = emptyJsonList();
  for (const datastore_record* datastore : datastores) {
    list.append(datastoreJson(index, *datastore));
  }
  return list;
}

Json::Value foundCountsJson(const ReplySelection& found) {
  Json::Value counts = emptyJsonObject();
  counts["objects"] = jsonNumber(found.objects.size());
  counts["machines"] = jsonNumber(found.machines.size());
  counts["disks"] = jsonNumber(found.disks.size());
  counts["datastores"] = jsonNumber(found.datastores.size());
  return counts;
}

}  // namespace

std::string jsonView(const ReplyIndex& index, const ReplyNotes& notes) {
  Json::Value document = summaryJson(index, notes);
  Json::Value& objects = document["objects"] = emptyJsonList();
  Json::Value& machines = document["machines"] = emptyJsonList();
  for (const IndexedObject& object : index.objects()) {
    objects.append(objectJson(index, object));
    if (object.machine != nullptr) machines.append(machineWithDisksJson(index, object));
  }
  document["datastores"] = datastoresJson(index, everythingOf(index).datastores);
  return jsonText(document, OutputFormat::json);
}

void jsonLinesView(const ReplyIndex& index, const ReplyNotes& notes, const Sink& sink) {
  JsonLines lines(sink);
  addLines(index, everythingOf(index), lines);
  lines.add("summary", summaryJson(index, notes));
  lines.finish();
}

std::string foundJsonView(const ReplyIndex& index, const ReplySelection& found,
                          const std::vector<Warning>& warnings) {
  Json::Value document = emptyJsonObject();
  document["counts"] = foundCountsJson(found);
  Json::Value& objects = document["objects"] = emptyJsonList();
  for (const std::size_t position : found.objects) {
    objects.append(objectJson(index, index.objects()[position]));
  }
  Json::Value& machines = document["machines"] = emptyJsonList();
  for (const std::size_t position : found.machines) {
    machines.append(machineWithDisksJson(index, index.objects()[position]));
  }
  Json::Value& disks = document["disks"] = emptyJsonList();
  for (const SelectedDisk& disk : found.disks) disks.append(diskOfMachineJson(index, disk));
  document["datastores"] = datastoresJson(index, found.datastores);
  document["warnings"] = jsonOf(warnings);
  return jsonText(document, OutputFormat::json);
}

void foundJsonLinesView(const ReplyIndex& index, const ReplySelection& found, const Sink& sink) {
  JsonLines lines(sink);
  addLines(index, found, lines);
  lines.finish();
}

}  // namespace kestrelvisor::ctl
