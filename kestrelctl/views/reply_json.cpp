#include "kestrelctl/views/reply_json.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/views/json_document.h"
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

void addDatastores(const ReplyIndex& index, const std::vector<const datastore_record*>& datastores,
                   JsonDocument& document) {
  document.addList("datastores", datastores, [&](const datastore_record* datastore) {
    return datastoreJson(index, *datastore);
  });
}

Json::Value foundSummaryJson(const ReplySelection& found, const std::vector<Warning>& warnings) {
  Json::Value value = emptyJsonObject();
  Json::Value& counts = value["counts"] = emptyJsonObject();
  counts["objects"] = jsonNumber(found.objects.size());
  counts["machines"] = jsonNumber(found.machines.size());
  counts["disks"] = jsonNumber(found.disks.size());
  counts["datastores"] = jsonNumber(found.datastores.size());
  value["warnings"] = jsonOf(warnings);
  return value;
}

}  // namespace

void jsonView(const ReplyIndex& index, const ReplyNotes& notes, const Sink& sink) {
  const ReplySelection all = everythingOf(index);
  JsonDocument document(sink);
  document.addMembers(summaryJson(index, notes));
  document.addList("objects", index.objects(),
                   [&](const IndexedObject& object) { return objectJson(index, object); });
  document.addList("machines", all.machines, [&](std::size_t position) {
    return machineWithDisksJson(index, index.objects()[position]);
  });
  addDatastores(index, all.datastores, document);
  document.finish();
}

void jsonLinesView(const ReplyIndex& index, const ReplyNotes& notes, const Sink& sink) {
  JsonLines lines(sink);
  addLines(index, everythingOf(index), lines);
  lines.add("summary", summaryJson(index, notes));
  lines.finish();
}

void foundJsonView(const ReplyIndex& index, const ReplySelection& found,
                   const std::vector<Warning>& warnings, const Sink& sink) {
  JsonDocument document(sink);
  document.addMembers(foundSummaryJson(found, warnings));
  document.addList("objects", found.objects, [&](std::size_t position) {
    return objectJson(index, index.objects()[position]);
  });
  document.addList("machines", found.machines, [&](std::size_t position) {
    return machineWithDisksJson(index, index.objects()[position]);
  });
  document.addList("disks", found.disks,
                   [&](const SelectedDisk& disk) { return diskOfMachineJson(index, disk); });
  addDatastores(index, found.datastores, document);
  document.finish();
}

void foundJsonLinesView(const ReplyIndex& index, const ReplySelection& found,
                        const std::vector<Warning>& warnings, const Sink& sink) {
  JsonLines lines(sink);
  addLines(index, found, lines);
  lines.add("summary", foundSummaryJson(found, warnings));
  lines.finish();
}

}  // namespace kestrelvisor::ctl
