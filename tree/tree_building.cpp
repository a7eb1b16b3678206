// The main loop of a scan: grows the tree of one site, query by query.

#include "base/log.h"
#include "engine/kestrelvisor_public.h"

#include <cstdint>
#include <vector>

namespace {

using Tree = tree<kestrelVisor_TreeNode>;
using ObjectList = KestrelVisorPublic::ObjectList;

constexpr const char* kHostsWithoutCluster = "default";

// Append the hosts and the machines below an object, if its kind has any. False when the request
// fails.
bool queryHosts(KestrelVisor_rest_api& api, VRM_INFO& vrm, std::int32_t type,
                const std::string& urn, ObjectList& children, KestrelVisorErrorMessage& err) {
  const bool possible = type == kestrelvisor::kKindGroup || type == kestrelvisor::kKindCluster;
  return !possible || api.getCnaFromVrm(vrm, urn, children, err);
}

bool queryMachines(KestrelVisor_rest_api& api, VRM_INFO& vrm, std::int32_t type,
                   const std::string& urn, ObjectList& children, KestrelVisorErrorMessage& err) {
  const bool possible = type != kestrelvisor::kKindGroup && type != kestrelvisor::kKindMachine;
  return !possible || api.getVMFromVrm(vrm, urn, children, err);
}

}  // namespace

void KestrelVisorPublic::HandleGetObjInfo(const VRM_INFO& vrm, KestrelVisorObj& obj) {
  obj.type = vrm.type;
  obj.objectStr = vrm.uri;
  obj.name = vrm.name;
}

bool KestrelVisorPublic::CreateTreeTables(VRM_INFO& vrm, Tree& tree, OsMap& osMap,
                                          KestrelVisorErrorMessage& err) {
  KestrelVisorObj site;
  HandleGetObjInfo(vrm, site);
  if (!restApi.getOSListFromVrm(vrm, osMap, err)) {
    KV_LOG(kProgress, "Failed to get os type that the VRM supported.");
    return false;
  }
  ObjectIndex index;
  kestrelVisor_TreeNode node;
  node.index = index.getIndex();
  node.name = site.name;
  node.moRef = site.objectStr;
  node.GUID = EnvProxy_string_to_uuid(site.objectStr);
  node.objectGUID = EnvProxy_string_to_uuid(site.objectStr);
  KV_LOG(kTrace, "object str is :", site.objectStr, " object GUID is:", node.objectGUID);
  node.type = site.type;
  const Tree::iterator root = tree.add_root(node);

  ObjectList children;
  if (!restApi.getClusterFromVrm(vrm, children, err)) {
    KV_LOG(kProgress, "Failed to get cluster infos from vrm:", vrm.name);
    return false;
  }
  if (!restApi.getCnaFromVrm(vrm, kHostsWithoutCluster, children, err)) {
    KV_LOG(kProgress, "Failed to get CNA infos that belonged to vrm directly.");
    return false;
  }
  AddChildNodesToTree(index, root, tree, children);
  return CreateTablesSub(vrm, index, tree, err);
}

bool KestrelVisorPublic::CreateTablesSub(VRM_INFO& vrm, ObjectIndex& index, Tree& tree,
                                         KestrelVisorErrorMessage& err) {
  // Lambdas, so that their lines name this function.
  const auto queryChildren = [&](const kestrelVisor_TreeNode& leaf, ObjectList& children) {
    const std::string urn = restApi.uriToUrn(leaf.moRef);
    if (!queryHosts(restApi, vrm, leaf.type, urn, children, err)) {
      KV_LOG(kProgress, "Failed to get cna from ", leaf.moRef);
      return false;
    }
    if (!queryMachines(restApi, vrm, leaf.type, urn, children, err)) {
      KV_LOG(kProgress, "Failed to get vm info from ", leaf.moRef);
      return false;
    }
    if (leaf.type == kestrelvisor::kKindHost) {
      hostGuidByUrn[urn] = leaf.objectGUID;
      KV_LOG(kTrace, "host id :", leaf.objectGUID, " urn : ", urn, " moRef:", leaf.moRef);
    }
    return true;
  };
  std::vector<std::uint64_t> expanded;
  const auto reportSubTrees = [&] {
    for (auto position = expanded.rbegin(); position != expanded.rend(); ++position) {
      KV_LOG(kProgress, "Failed to create sub tree of ", tree.node(*position).moRef);
    }
  };

  // One pass: the leaves that it adds lie ahead of it. Its stack does not grow with the tree.
  Tree::leaf_iterator leaf(tree);
  for (leaf.getLeaf(); !leaf.atEnd(); ++leaf) {
    if (!leaf->needExpand) continue;
    ObjectList children;
    if (!queryChildren(*leaf, children)) {
      reportSubTrees();
      return false;
    }
    AddChildNodesToTree(index, leaf, tree, children);
    // Nothing is attached when there are no children, nor when the first claims to be a host and is
    // none; in neither case is the leaf asked again.
    if (!tree.isLeaf(leaf.position)) expanded.push_back(leaf.position);
  }
  return true;
}
