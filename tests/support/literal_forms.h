#pragma once

#include "engine/kestrelvisor_public.h"
#include "inventory/inventory_records.h"
#include "rest/kestrelvisor_rest_api.h"

#include <json/json.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// What the engine does by shorter ways, step by step as it is described to hosts. Tests compare the
// two, and benchmarks show what the shorter way brings.
namespace kestrelvisor::test::literal {

using Tree = tree<kestrelVisor_TreeNode>;

// Writes an element out and hands it to getVMDetail.
bool readMachine(KestrelVisor_rest_api& api, const Json::Value& element, VM_DETAIL& detail);

// Writes each datastore out and hands it to getDatastoreInfo.
bool toDataStores(KestrelVisor_rest_api& api, const std::string& json, datastores_t& out);

// Takes a piece of an answer: a fresh buffer, all of it zeroed, then the old bytes and the new.
std::size_t receive(char* source, std::size_t itemSize, std::size_t itemCount, void* target);

// Writes a record as the engine's statements do, but makes the function's name from its signature
// each time, and a stream whether the record is wanted or not.
void log(int level, const std::string& signature, int line, std::string_view text,
         const std::string& piece);

// Attaches objects below a parent that is not the root: each node is copied into the tree.
void attach(KestrelVisorPublic& engine, ObjectIndex& index, std::uint64_t parent, Tree& tree,
            KestrelVisorPublic::ObjectList& children);

// Expands the first open leaf and begins again, as deep as there are leaves with children.
bool expand(KestrelVisorPublic& engine, VRM_INFO& vrm, ObjectIndex& index, Tree& tree,
            KestrelVisorErrorMessage& err);

// Adds the rows of all nodes and their records, each a copy of one on the stack.
void addTreeRecords(const Tree& tree, ScanEnvironmentReply& reply);

// Prints the tree's rows, line by line, to a stream.
void printTreeRecords(const ScanEnvironmentReply& reply, std::ostream& out);

}  // namespace kestrelvisor::test::literal
