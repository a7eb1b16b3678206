// Turns a list of inventory objects into child nodes under one parent.

#include "base/log.h"
#include "engine/kestrelvisor_public.h"

#include <cstdint>
#include <list>
#include <utility>

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

// The lines that an attachment may write. Each overload has words of its own.
enum class AttachmentLine { invalidHost, host, cluster };

// Attaches children in list order. The parent is named by its position and read anew each time: the
// tree's vector moves while it grows. log writes a line in the caller's words and name.
template <class Log>
void attach(KestrelVisorPublic& owner, ObjectIndex& index, std::uint64_t parent, Tree& tree,
            KestrelVisorPublic::ObjectList& children, bool keepObjects, const Log& log) {
  if (children.empty()) {
    tree.node(parent).needExpand = false;
    return;
  }
  tree.reserveMore(children.size());
  for (const auto& object : children) {
    kestrelVisor_TreeNode node;
    node.index = index.getIndex();  // taken before anything can fail
    describe(*object, tree.node(parent), node);
    if (node.type == kestrelvisor::kKindHost) {
      const auto host = boost::dynamic_pointer_cast<CNA_INFO>(object);
      if (!host) return log(AttachmentLine::invalidHost, node);
      node.ip = host->ip;
      node.cpu_num = host->cpuNumber;
      node.arch = host->arch;
      node.cpuVendor = host->cpuVendor;
      log(AttachmentLine::host, node);
      owner.addDatastore(host->datastores, node);
    }
    const auto cluster = node.type == kestrelvisor::kKindCluster
                             ? boost::dynamic_pointer_cast<CLUSTER_INFO>(object)
                             : boost::shared_ptr<CLUSTER_INFO>();
    if (cluster) {
      node.arch = cluster->arch;
      node.cpuVendor = cluster->cpuVendor;
      log(AttachmentLine::cluster, node);
      owner.addDatastore(cluster->datastores, node);
    }
    if (keepObjects) node.object = object;
    tree.add_child(parent, std::move(node));
  }
}

}  // namespace

void KestrelVisorPublic::AddChildNodesToTree(ObjectIndex& index, const Tree::iterator& parent,
                                             Tree& tree, ObjectList& children) {
  const auto log = [](AttachmentLine line, const kestrelVisor_TreeNode& node) {
    switch (line) {
      case AttachmentLine::invalidHost:
        KV_LOG(kError, "Invalid parameter of cna !");
        break;
      case AttachmentLine::host:  // no separator behind the CPU count: hosts match these words
        KV_LOG(kInfo, "nodeInfo.cpu_num:", node.cpu_num, "nodeInfo.arch: ", node.arch,
               ", nodeInfo.cpuVendor:", node.cpuVendor);
        break;
      case AttachmentLine::cluster:
        KV_LOG(kInfo, "cluster nodeInfo.arch: ", node.arch,
               ", cluster nodeInfo.cpuVendor:", node.cpuVendor);
        break;
    }
  };
  attach(*this, index, parent.position, tree, children, false, log);
}

void KestrelVisorPublic::AddChildNodesToTree(ObjectIndex& index, const Tree::leaf_iterator& parent,
                                             Tree& tree, ObjectList& children) {
  const auto log = [](AttachmentLine line, const kestrelVisor_TreeNode& node) {
    switch (line) {
      case AttachmentLine::invalidHost:
        KV_LOG(kError, "Invalid parameter of cna !");
        break;
      case AttachmentLine::host:
        KV_LOG(kInfo, "nodeInfo.cpu_num:", node.cpu_num, ", nodeInfo.arch: ", node.arch,
               ", nodeInfo.cpuVendor=", node.cpuVendor);
        break;
      case AttachmentLine::cluster:  // the vendor under the label of the architecture: likewise
        KV_LOG(kInfo, "cluster nodeInfo.arch: ", node.arch,
               ", cluster nodeInfo.arch:", node.cpuVendor);
        break;
    }
  };
  attach(*this, index, parent.position, tree, children, true, log);
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
