#include "tests/support/literal_forms.h"

#include "base/log.h"
#include "environment.pb.h"
#include "inventory/allocation.h"
#include "platform/contract/bounded_memory.h"
#include "rest/json_utils.h"
#include "rest/session_types.h"

#include <algorithm>
#include <initializer_list>
#include <map>
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

constexpr std::string_view kExpansion = "KestrelVisorPublic::CreateTablesSub()";

bool query(KestrelVisorPublic& engine, VRM_INFO& vrm, const kestrelVisor_TreeNode& leaf,
           KestrelVisorPublic::ObjectList& children, KestrelVisorErrorMessage& err) {
  std::string urn;
  if (leaf.type == kKindGroup || leaf.type == kKindCluster) {
    urn = engine.restApi.uriToUrn(leaf.moRef);
    if (!engine.restApi.getCnaFromVrm(vrm, urn, children, err)) {
      writeAs(kExpansion, kModuleTag, kProgress, "Failed to get cna from ", leaf.moRef);
      return false;
    }
  }
  if (leaf.type != kKindMachine && leaf.type != kKindGroup) {
    urn = engine.restApi.uriToUrn(leaf.moRef);
    if (!engine.restApi.getVMFromVrm(vrm, urn, children, err)) {
      writeAs(kExpansion, kModuleTag, kProgress, "Failed to get vm info from ", leaf.moRef);
      return false;
    }
  }
  if (leaf.type != kKindHost) return true;
  engine.hostGuidByUrn[urn] = leaf.objectGUID;
  writeAs(kExpansion, kModuleTag, kTrace, "host id :", leaf.objectGUID, " urn : ", urn,
          " moRef:", leaf.moRef);
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

bool isOneOf(std::int32_t type, std::initializer_list<std::int32_t> kinds) {
  return std::find(kinds.begin(), kinds.end(), type) != kinds.end();
}

non_vm_record recordOf(const kestrelVisor_TreeNode& node) {
  const bool isNamed = node.type == kKind14 || (node.type == kKind12 && node.ip.empty());
  const bool isOf12 = isOneOf(node.type, {kKind12, kKind13, kKind14});
  non_vm_record record;
  record.set_non_vm_object_id(node.index);
  record.set_object_type(node.type);
  record.set_mo_reference(node.moRef);
  record.set_objectguid(node.objectGUID);
  record.set_ip(isNamed ? node.name : node.ip);
  record.set_cpu_num(node.cpu_num);
  record.set_arch(node.arch);
  record.set_cpuvendor(node.cpuVendor);
  record.set_default_moref(node.type == kKind9 ? node.moRefOfKind9
                           : isOf12            ? node.moRefOfKind12
                                               : node.moRef);
  record.set_drs(node.DRS);
  return record;
}

constexpr std::string_view kDump = "ProtoBufferUtility<T>::dumpToTreeTable()";

// What the host is told of datastores lives through one dump.
struct Dump {
  ScanEnvironmentReply& reply;
  std::map<std::string, unsigned long> datastoreIds{};
  unsigned long nextDatastoreId = 0;
  std::string text{};

  void add(const kestrelVisor_TreeNode& node) {
    const tree_record direct = rowOf(node, node.parentIndex, true);
    reply.add_tree_records()->CopyFrom(direct);
    if (isOneOf(node.type, {kKindHost, kKindCluster, kKind12, kKind13, kKind14})) {
      dumpDataStore(reply, datastoreIds, nextDatastoreId, node.index, node.datastores, text);
    }
    if (!isOneOf(node.type, {kKindMachine, kKind23})) {
      const non_vm_record record = recordOf(node);
      reply.add_non_vm_records()->CopyFrom(record);
    }
    writeAs(kDump, kEnvEngineTag, kInfo, "current node index:", node.index, ",name:", node.name,
            ",type:", node.type, ",GUID:", node.GUID, "parentindex:", node.parentIndex, " has ",
            node.indirectParents.size(), " indirect parent node");
    for (const std::uint64_t ancestor : node.indirectParents) {
      const tree_record row = rowOf(node, ancestor, false);
      reply.add_tree_records()->CopyFrom(row);
    }
  }
};

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
  chunk.memory[chunk.size] = '\0';
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
    if (node.type == kKindHost) {
      const auto host = boost::dynamic_pointer_cast<CNA_INFO>(object);
      if (!host) {
        writeAs(kTold, kModuleTag, kError, "Invalid parameter of cna !");
        return;
      }
      node.ip = host->ip;
      node.cpu_num = host->cpuNumber;
      node.arch = host->arch;
      node.cpuVendor = host->cpuVendor;
      writeAs(kTold, kModuleTag, kInfo, "nodeInfo.cpu_num:", node.cpu_num,
              ", nodeInfo.arch: ", node.arch, ", nodeInfo.cpuVendor=", node.cpuVendor);
      engine.addDatastore(host->datastores, node);
    }
    if (node.type == kKindCluster) {
      const auto cluster = boost::dynamic_pointer_cast<CLUSTER_INFO>(object);
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
    if (!query(engine, vrm, *leaf, children, err)) return false;
    attach(engine, index, leaf.position, tree, children);
    if (children.empty() || expand(engine, vrm, index, tree, err)) continue;
    writeAs(kExpansion, kModuleTag, kProgress, "Failed to create sub tree of ",
            tree.node(leaf.position).moRef);
    return false;
  }
  return true;
}

void addTreeRecords(const Tree& tree, ScanEnvironmentReply& reply) {
  writeAs(kDump, kEnvEngineTag, kInfo, "begin to dump the tree record to protobuf message ");
  Dump dump{reply};
  for (std::uint64_t position = tree.begin; position != tree.end; ++position) {
    const kestrelVisor_TreeNode& node = tree.node(position);
    if (node.isValid) {
      dump.add(node);
    } else {
      writeAs(kDump, kEnvEngineTag, kWarning, "The tree node[", node.name, ",", node.moRef,
              "] is invalid !");
    }
  }
  writeAs(kDump, kEnvEngineTag, kInfo, "end of dumping the tree record to protobuf message");
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
