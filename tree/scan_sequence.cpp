// The order of a whole scan.

#include "base/log.h"
#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"
#include "reply/proto_buffer_utility.h"

long KestrelVisorPublic::scanEnvironment(VRM_INFO& vrm, ScanEnvironmentReply& reply,
                                         KestrelVisorErrorMessage& err) {
  using Dump = ProtoBufferUtility<kestrelVisor_TreeNode>;
  constexpr long kTreeFailed = -1;

  KV_LOG(kProgress, "Environment Proxy: KestrelVisor Engine is going to scan environment for: \n\t",
         vrm.vrmIp, "\t", vrm.clientUsername);
  tree<kestrelVisor_TreeNode> environment;
  OsMap osMap;
  if (!CreateTreeTables(vrm, environment, osMap, err)) return kTreeFailed;

  static_cast<void>(CreateVMAndDiskTable(vrm, environment, osMap, reply, err));  // always true
  std::string text;
  Dump::dumpToTreeTable(environment, reply, text);
  reply.add_timestamp(DateTimeUtility::getCurrentDateTimeWithSecondFormat());
  Dump::dumpScanEnvironmentReplyFoTester(reply);
  return 0;
}
