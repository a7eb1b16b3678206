// A whole scan: what answers become once they are read, up to the reply.

#include "engine/kestrelvisor_public.h"
#include "environment.pb.h"
#include "rest/json_utils.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"
#include "tests/fuzz/targets.h"

#include <iostream>
#include <streambuf>
#include <string>

namespace kestrelvisor::fuzz {
namespace {

constexpr int kTransfersOfAScan = 24;

// Takes what a scan prints, while it lives.
class DroppedOutput {
 public:
  DroppedOutput() : before_(std::cout.rdbuf(&nowhere_)) {}
  ~DroppedOutput() { std::cout.rdbuf(before_); }
  DroppedOutput(const DroppedOutput&) = delete;
  DroppedOutput& operator=(const DroppedOutput&) = delete;

 private:
  class Nowhere : public std::streambuf {
   protected:
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  };

  Nowhere nowhere_;
  std::streambuf* before_;
};

void requireWholeReply(const ScanEnvironmentReply& reply) {
  require(reply.timestamp_size() == 1, "a scan has one time");
  require(reply.non_vm_records_size() >= 1, "a scan has its site");
  for (const tree_record& record : reply.tree_records()) {
    require(!record.has_parentid() || record.parentid() < record.id(),
            "a node has a higher number than its parent");
  }
  std::uint64_t disks = 0;
  for (const machine_record& machine : reply.machine_records()) disks += machine.disknumber();
  require(disks == static_cast<std::uint64_t>(reply.disk_records_size()),
          "the machines tell of all disks");
  std::string bytes;
  require(reply.SerializeToString(&bytes), "a reply can be sent");
}

}  // namespace

void scan(std::string_view input) {
  if (scriptAnnouncesTooManyDatastores(input)) return;
  KestrelVisorPublic operations;
  operations.restApi.tokenMap = Client().tokenMap;
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  ScanEnvironmentReply reply;
  long result = -1;
  const bool good = endsWithout<Json::Exception>([&] {
    const DroppedOutput output;
    const ScriptedManager manager(input, ScriptedManager::Sessions::granted, kTransfersOfAScan);
    result = operations.scanEnvironment(vrm, reply, error);
  });
  operations.restApi.tokenMap.clear();
  if (good && result == 0) requireWholeReply(reply);
  if (good && result != 0) require(reply.ByteSizeLong() == 0, "a failed scan has no reply");
}

}  // namespace kestrelvisor::fuzz
