#pragma once

#include "vrmsim/inventory_index.h"
#include "vrmsim/json_text.h"

#include <string>

namespace kestrelvisor::vrmsim {

// The JSON objects of the manager's REST interface. Each function appends one object to out. The
// odd spellings "vncAcessInfo" and "reoverByHost" are the interface's own.

void writeSite(JsonText& out, const Site& site, const std::string& ip);
void writeCluster(JsonText& out, const InventoryIndex& index, const Cluster& cluster);
void writeHost(JsonText& out, const InventoryIndex& index, const Host& host);
void writeDatastore(JsonText& out, const InventoryIndex& index, const Datastore& datastore);

// The few facts of a list, or with detail all that there is.
void writeVm(JsonText& out, const InventoryIndex& index, const Vm& vm, bool detail);

// One volume as the discovery service tells it.
void writeVolume(JsonText& out, const InventoryIndex& index, const Disk& disk);

void writeOsFamilies(JsonText& out, const OsFamilies& families);

// {"errorCode":...,"errorDes":...}
std::string errorBody(const std::string& code, const std::string& description);

}  // namespace kestrelvisor::vrmsim
