#pragma once

#include "kestrelctl/reply_index.h"
#include "kestrelctl/reply_selection.h"
#include "kestrelctl/views/reply_notes.h"

#include <json/json.h>

namespace kestrelvisor::ctl {

// The parts of a reply as JSON objects. docs/schemas describes them.

// Of the tree, machine or not.
Json::Value objectJson(const ReplyIndex& index, const IndexedObject& object);
// Needs a machine's record; without its disks.
Json::Value machineJson(const ReplyIndex& index, const IndexedObject& object);
Json::Value machineWithDisksJson(const ReplyIndex& index, const IndexedObject& object);
// With the id of its machine.
Json::Value diskOfMachineJson(const ReplyIndex& index, const SelectedDisk& disk);
Json::Value datastoreJson(const ReplyIndex& index, const datastore_record& datastore);

// Version, time and counts of a reply, and its notes.
Json::Value summaryJson(const ReplyIndex& index, const ReplyNotes& notes);

}  // namespace kestrelvisor::ctl
