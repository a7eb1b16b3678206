// Turns a list of inventory objects into child nodes under one parent.

#include "base/log.h"
#include "engine/kestrelvisor_public.h"

namespace {

using Tree = tree<kestrelVisor_TreeNode>;

constexpr unsigned int kKibPerGibShift = 20;

std::string kibText(std::uint32_t gib) {
  return std::to_string(std::uint64_t{gib} << kKibPerGibShift);
}

void describe(const KestrelVisorObj& object, const kestrelVisor_TreeNode& parent,
              kestrelVisor_TreeNode& node) {
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
  node.needExpand = true;
}

// The record that an object of one kind is, or null when it only claims to be.
template <class Record>
boost::shared_ptr<Record> recordOf(const boost::shared_ptr<KestrelVisorObj>& object) {
  return boost::dynamic_pointer_cast<Record>(object);
}

// Attaches children in list order. The parent is named by its position and read anew each time: the
// tree's vector moves while it grows. lines writes the caller's log lines.
template <class Lines>
void attach(KestrelVisorPublic& owner, ObjectIndex& index, std::uint64_t parent, Tree& tree,
            KestrelVisorPublic::ObjectList& children, bool keepObjects, const Lines& lines) {
  if (children.empty()) {
    tree.node(parent).needExpand = false;
    return;
  }
  for (const auto& object : children) {
    kestrelVisor_TreeNode node;
    node.index = index.getIndex();  // taken before anything can fail
    describe(*object, tree.node(parent), node);
    if (node.type == kestrelvisor::kKindHost) {
      const auto host = recordOf<CNA_INFO>(object);
      if (!host) return lines.invalidHost();
      node.ip = host->ip;
      node.cpu_num = host->cpuNumber;
      node.arch = host->arch;
      node.cpuVendor = host->cpuVendor;
      lines.host(node);
      owner.addDatastore(host->datastores, node);
    }
    if (const auto cluster = recordOf<CLUSTER_INFO>(object);
        cluster && node.type == kestrelvisor::kKindCluster) {
      node.arch = cluster->arch;
      node.cpuVendor = cluster->cpuVendor;
      lines.cluster(node);
      owner.addDatastore(cluster->datastores, node);
    }
    if (keepObjects) node.object = object;
    tree.add_child(parent, node);
  }
}

// The log lines of one overload; lambdas of that overload, so that they name it.
template <class InvalidHost, class Host, class Cluster>
struct AttachmentLines {
  InvalidHost invalidHost;
  Host host;
  Cluster cluster;
};
template <class InvalidHost, class Host, class Cluster>
AttachmentLines(InvalidHost, Host, Cluster) -> AttachmentLines<InvalidHost, Host, Cluster>;

}  // namespace

void KestrelVisorPublic::AddChildNodesToTree(ObjectIndex& index, const Tree::iterator& parent,
                                             Tree& tree, ObjectList& children) {
  // Hosts match these words: no separator behind the CPU count here.
  const AttachmentLines lines{[] { KV_LOG(kError, "Invalid parameter of cna !"); },
                              [](const kestrelVisor_TreeNode& node) {
                                KV_LOG(kInfo, "nodeInfo.cpu_num:", node.cpu_num,
                                       "nodeInfo.arch: ", node.arch,
                                       ", nodeInfo.cpuVendor:", node.cpuVendor);
                              },
                              [](const kestrelVisor_TreeNode& node) {
                                KV_LOG(kInfo, "cluster nodeInfo.arch: ", node.arch,
                                       ", cluster nodeInfo.cpuVendor:", node.cpuVendor);
                              }};
  attach(*this, index, parent.position, tree, children, false, lines);
}

void KestrelVisorPublic::AddChildNodesToTree(ObjectIndex& index, const Tree::leaf_iterator& parent,
                                             Tree& tree, ObjectList& children) {
  // Hosts match these words: the vendor stands behind the label of the architecture here.
  const AttachmentLines lines{[] { KV_LOG(kError, "Invalid parameter of cna !"); },
                              [](const kestrelVisor_TreeNode& node) {
                                KV_LOG(kInfo, "nodeInfo.cpu_num:", node.cpu_num,
                                       ", nodeInfo.arch: ", node.arch,
                                       ", nodeInfo.cpuVendor=", node.cpuVendor);
                              },
                              [](const kestrelVisor_TreeNode& node) {
                                KV_LOG(kInfo, "cluster nodeInfo.arch: ", node.arch,
                                       ", cluster nodeInfo.arch:", node.cpuVendor);
                              }};
  attach(*this, index, parent.position, tree, children, true, lines);
}

void KestrelVisorPublic::addDatastore(
    const std::list<boost::shared_ptr<ST_DATASTORE_INFO>>& datastores,
    kestrelVisor_TreeNode& node) {
  for (const auto& datastore : datastores) {
    _datstore_ManagedObjectReference& reference = node.datastores.emplace_back();
    reference.uri = datastore->uri;
    reference.name = datastore->name;
    reference.capacity = kibText(datastore->actualCapacityGB);
    reference.freeSpace = kibText(datastore->actualFreeSizeGB);
    reference.type = static_cast<std::uint32_t>(datastore->storageType);
  }
}
