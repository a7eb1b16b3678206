#include "tests/support/literal_forms.h"

#include "base/log.h"
#include "environment.pb.h"
#include "inventory/allocation.h"
#include "platform/contract/bounded_memory.h"
#include "rest/json_utils.h"
#include "rest/session_types.h"

#include <cstring>
#include <new>
#include <ostream>
#include <sstream>

namespace kestrelvisor::test::literal {
namespace {

// The log records of this file bear the name of the function that they stand for.
template <class... Pieces>
void writeAs(std::string_view function, std::string_view tag, int level, const Pieces&... pieces) {
  writeLogRecord(tag, level, *KCPTSP::get(TSP_RequestID), function, __LINE__, pieces...);
}

kestrelVisor_TreeNode describe(const KestrelVisorObj& object, const kestrelVisor_TreeNode& parent) {
  kestrelVisor_TreeNode node;
  node.indirectParents = parent.indirectParents;
  if (parent.parentIndex != ObjectTreeNode::kNoParent) {
    node.indirectParents.push_back(parent.parentIndex);
  }
  node.moRef = object.objectStr;
  node.objectStr = object.objectStr;
  node.name = object.name;
  node.parentIndex = parent.index;
  node.type = object.type;
  node.GUID = object.oldGuid;
  node.objectGUID = object.guid;
  return node;
}

void addChild(Tree& tree, std::uint64_t parent, const kestrelVisor_TreeNode& node) {
  using Property = boost::property<Tree::_tree_node_t, kestrelVisor_TreeNode>;
  boost::add_edge(parent, boost::add_vertex(Property(node), tree.graph), tree.graph);
  tree.end = boost::num_vertices(tree.graph);
}

bool query(KestrelVisorPublic& engine, VRM_INFO& vrm, const kestrelVisor_TreeNode& leaf,
           KestrelVisorPublic::ObjectList& children, KestrelVisorErrorMessage& err) {
  const std::string urn = engine.restApi.uriToUrn(leaf.moRef);
  const bool hasHosts = leaf.type == kKindGroup || leaf.type == kKindCluster;
  if (hasHosts && !engine.restApi.getCnaFromVrm(vrm, urn, children, err)) return false;
  const bool hasMachines = leaf.type != kKindGroup && leaf.type != kKindMachine;
  if (hasMachines && !engine.restApi.getVMFromVrm(vrm, urn, children, err)) return false;
  if (leaf.type == kKindHost) engine.hostGuidByUrn[urn] = leaf.objectGUID;
  return true;
}

tree_record rowOf(const kestrelVisor_TreeNode& node, std::uint64_t parent, bool direct) {
  tree_record record;
  record.set_id(node.index);
  record.set_type(node.type);
  record.set_name(node.name);
  record.set_guid(node.objectGUID);
  if (parent != ObjectTreeNode::kNoParent) record.set_parentid(parent);
  record.set_directparent(direct);
  return record;
}

non_vm_record recordOf(const kestrelVisor_TreeNode& node) {
  non_vm_record record;
  record.set_non_vm_object_id(node.index);
  record.set_object_type(node.type);
  record.set_mo_reference(node.moRef);
  record.set_objectguid(node.objectGUID);
  record.set_ip(node.ip);
  record.set_cpu_num(node.cpu_num);
  record.set_arch(node.arch);
  record.set_cpuvendor(node.cpuVendor);
  record.set_default_moref(node.moRef);
  record.set_drs(node.DRS);
  return record;
}

}  // namespace

bool readMachine(KestrelVisor_rest_api& api, const Json::Value& element, VM_DETAIL& detail) {
  return api.getVMDetail(writeJson(Json::StreamWriterBuilder(), element), &detail);
}

bool toDataStores(KestrelVisor_rest_api& api, const std::string& json, datastores_t& out) {
  constexpr std::string_view kTold = "KestrelVisor_rest_api::toDataStores()";
  out.clear();
  Json::Value root;
  if (!CJsonUtils::StringToJson(json, root)) {
    writeAs(kTold, kDiskLibTag, kError, "Failed to parse the JSON string");
    return false;
  }
  const Json::Value& answer = asDocument(root);
  const Json::ArrayIndex total = answer["total"].asUInt();
  if (total == 0) return true;
  const Json::Value& datastores = answer["datastores"];
  const Json::StreamWriterBuilder writer;
  for (Json::ArrayIndex index = 0; index < total; ++index) {
    const auto datastore = allocateOrNull<ST_DATASTORE_INFO>();
    if (!datastore) {
      writeAs(kTold, kDiskLibTag, kProgress, "Failed to allocate memory for Data Store object");
      return false;
    }
    datastore->storageType = EN_DATASTORAGE_TYPE_NOT_SUPPORT;
    static_cast<void>(api.getDatastoreInfo(writeJson(writer, datastores[index]), *datastore));
    out.push_back(datastore);
  }
  return true;
}

std::size_t receive(char* source, std::size_t itemSize, std::size_t itemCount, void* target) {
  auto& chunk = *static_cast<MemoryStruct*>(target);
  const std::size_t received = itemSize * itemCount;
  const std::size_t newSize = chunk.size + received + 1;
  char* const grown = new char[newSize];
  memset_s(grown, newSize, 0, newSize);
  if (chunk.memory != nullptr) {
    memcpy_s(grown, newSize, chunk.memory, chunk.size);
    delete[] chunk.memory;
  }
  memcpy_s(grown + chunk.size, newSize - chunk.size, source, received);
  chunk.memory = grown;
  chunk.size += received;
  return received;
}

void log(int level, const std::string& signature, int line, std::string_view text,
         const std::string& piece) {
  const std::string function = GetFunctionName(signature);
  std::ostringstream pieces;
  pieces << text << piece;
  writeLogRecord(kModuleTag, level, *KCPTSP::get(TSP_RequestID), function, line, pieces.str());
}

void attach(KestrelVisorPublic& engine, ObjectIndex& index, std::uint64_t parent, Tree& tree,
            KestrelVisorPublic::ObjectList& children) {
  constexpr std::string_view kTold = "KestrelVisorPublic::AddChildNodesToTree()";
  if (children.empty()) tree.node(parent).needExpand = false;
  for (const auto& object : children) {
    const std::uint64_t number = index.getIndex();
    kestrelVisor_TreeNode node = describe(*object, tree.node(parent));
    node.index = number;
    if (const auto host = boost::dynamic_pointer_cast<CNA_INFO>(object)) {
      node.ip = host->ip;
      node.cpu_num = host->cpuNumber;
      node.arch = host->arch;
      node.cpuVendor = host->cpuVendor;
      writeAs(kTold, kModuleTag, kInfo, "nodeInfo.cpu_num:", node.cpu_num,
              ", nodeInfo.arch: ", node.arch, ", nodeInfo.cpuVendor=", node.cpuVendor);
      engine.addDatastore(host->datastores, node);
    }
    if (const auto cluster = boost::dynamic_pointer_cast<CLUSTER_INFO>(object)) {
      node.arch = cluster->arch;
      node.cpuVendor = cluster->cpuVendor;
      writeAs(kTold, kModuleTag, kInfo, "cluster nodeInfo.arch: ", node.arch,
              ", cluster nodeInfo.arch:", node.cpuVendor);
      engine.addDatastore(cluster->datastores, node);
    }
    node.object = object;
    addChild(tree, parent, node);
  }
}

bool expand(KestrelVisorPublic& engine, VRM_INFO& vrm, ObjectIndex& index, Tree& tree,
            KestrelVisorErrorMessage& err) {
  Tree::leaf_iterator leaf(tree);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) {
    if (!leaf->needExpand) continue;
    KestrelVisorPublic::ObjectList children;
    if (!query(engine, vrm, kestrelVisor_TreeNode(*leaf), children, err)) return false;
    attach(engine, index, leaf.position, tree, children);
    if (!children.empty() && !expand(engine, vrm, index, tree, err)) return false;
  }
  return true;
}

void addTreeRecords(const Tree& tree, ScanEnvironmentReply& reply) {
  for (std::uint64_t position = tree.begin; position != tree.end; ++position) {
    const kestrelVisor_TreeNode& node = tree.node(position);
    const tree_record direct = rowOf(node, node.parentIndex, true);
    reply.add_tree_records()->CopyFrom(direct);
    if (node.type != kKindMachine) {
      const non_vm_record record = recordOf(node);
      reply.add_non_vm_records()->CopyFrom(record);
    }
    for (const std::uint64_t ancestor : node.indirectParents) {
      const tree_record row = rowOf(node, ancestor, false);
      reply.add_tree_records()->CopyFrom(row);
    }
  }
}

void printTreeRecords(const ScanEnvironmentReply& reply, std::ostream& out) {
  out << "ID\tType\tName\t\t\tParentID\tDirectParent\tRecordSize" << std::endl;
  for (const tree_record& record : reply.tree_records()) {
    out << record.id() << '\t' << record.type() << '\t' << record.name() << "\t\t\t"
        << record.parentid() << '\t' << record.directparent() << '\t' << reply.tree_records_size()
        << std::endl;
  }
  out << std::endl;
}

}  // namespace kestrelvisor::test::literal
