#pragma once

#include "platform/contract/engine_base.h"
#include "platform/contract/helpers.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tree/tree.h"
#include "tree/tree_node.h"
#include "tree/virtual_group_type.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <list>
#include <map>
#include <string>

// The operations on a manager whose site is known, and the scan.
//
// One object serves the process, with a REST client and sessions of its own. Whatever the REST
// client throws leaves the operations; the next one works.
class KestrelVisorPublic {
 public:
  using OsMap = std::map<std::string, std::map<int, std::string>>;
  using ObjectList = std::list<boost::shared_ptr<KestrelVisorObj>>;

  KestrelVisorPublic();
  KestrelVisorPublic(const KestrelVisorPublic&) = delete;
  KestrelVisorPublic& operator=(const KestrelVisorPublic&) = delete;
  virtual ~KestrelVisorPublic();

  // Proves that the record's credentials are good. Returns 0, or the number of the failure's code
  // text; err then holds a text for the host. A code text that maps to 0 counts as success.
  virtual long VerifyCredentials(VRM_INFO& vrm, KestrelVisorErrorMessage& err);

  // Scans the site that vrm names into reply and prints the reply for testers to standard output.
  //
  // Returns 0, or -1 when the tree could not be built; reply is then as it came in. An exception
  // may leave it partly filled.
  virtual long scanEnvironment(VRM_INFO& vrm, ScanEnvironmentReply& reply,
                               KestrelVisorErrorMessage& err);

  // Switches changed-block tracking off on one machine. Returns the status for the host;
  // description is its text, empty on success.
  virtual EnvProxyStatus DisableCBT(VRM_INFO& vrm, const std::string& vmUri,
                                    std::string& description, KestrelVisorErrorMessage& err);

  // The process's object, made at the first call and destroyed at exit.
  static KestrelVisorPublic& getInstance();

  // The port of an agent's HTTP client, which hosts of this family ask for.
  int getHttpClientPort();

  // Number of a code text: its row in vrmAviaryStateTable, or 1077949019.
  static int getAviaryStateCode(std::string codeText);

  // --- The scan. ---

  // Grows the tree of the site: guest systems, root, clusters, hosts without a cluster, and what
  // hangs below them. On false the tree is partial; err tells of the failed request.
  bool CreateTreeTables(VRM_INFO& vrm, tree<kestrelVisor_TreeNode>& tree, OsMap& osMap,
                        KestrelVisorErrorMessage& err);

  // Expands every leaf that needs it, those that it adds included. On true no leaf is left to
  // expand.
  bool CreateTablesSub(VRM_INFO& vrm, ObjectIndex& index, tree<kestrelVisor_TreeNode>& tree,
                       KestrelVisorErrorMessage& err);

  // Takes the root's kind, URI and name from the connection record.
  void HandleGetObjInfo(const VRM_INFO& vrm, KestrelVisorObj& obj);

  // Attach objects as children of a node, in list order. An empty list marks the parent as
  // expanded. An object that claims to be a host and is none ends the attachment; what came before
  // stays.
  //
  // For the root: the nodes keep no object.
  void AddChildNodesToTree(ObjectIndex& index, const tree<kestrelVisor_TreeNode>::iterator& parent,
                           tree<kestrelVisor_TreeNode>& tree, ObjectList& children);
  // For every other parent: the nodes keep their objects.
  void AddChildNodesToTree(ObjectIndex& index,
                           const tree<kestrelVisor_TreeNode>::leaf_iterator& parent,
                           tree<kestrelVisor_TreeNode>& tree, ObjectList& children);

  // Appends datastores to a node, as they come.
  void addDatastore(const std::list<boost::shared_ptr<ST_DATASTORE_INFO>>& datastores,
                    kestrelVisor_TreeNode& node);

  // Adds a record for each machine of the tree, and one for each of its disks. A machine whose uuid
  // is not one is marked as not valid instead. Always true.
  //
  // Throws boost::bad_any_cast for a machine's node without an object.
  bool CreateVMAndDiskTable(const VRM_INFO& vrm, tree<kestrelVisor_TreeNode>& tree, OsMap& osMap,
                            ScanEnvironmentReply& reply, KestrelVisorErrorMessage& err);

  virtualGroupType getVgroupType(std::string& group);

  std::uint64_t reserved = 0;            // nothing reads it
  std::list<std::string> residentCodes;  // manager codes that hosts of this family keep at hand
  std::map<std::string, std::string> hostGuidByUrn;  // grows over scans
  KestrelVisor_rest_api restApi;
};
