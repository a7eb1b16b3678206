#include "bench/scan/engine_host.h"

#include "bench/scan/manager.h"
#include "bench/scan/stand_ins.h"
#include "engine/kestrelvisor_engine.h"

#include <stdexcept>
#include <string>

namespace kestrelvisor::bench {
namespace {

constexpr std::int32_t kHttp = 1;
constexpr std::int32_t kHttps = 2;
constexpr const char* kAddress = "127.0.0.1";

void require(const char* what, int found, std::uint32_t expected) {
  if (found == static_cast<int>(expected)) return;
  throw std::runtime_error("the reply has " + std::to_string(found) + " " + what + ", not " +
                           std::to_string(expected));
}

}  // namespace

EngineHost::EngineHost(const Target& target, const Shape& shape) : shape_(shape) {
  path_.add_hv_address(kAddress);
  path_.add_port(target.port());
  path_.add_protocol(target.tls() ? kHttps : kHttp);
  path_.add_username(kUser);
  path_.add_password(storedPassword(kPassword));
  path_.add_cert(target.certificate);
  kestrelvisor_engine_init();
}

void EngineHost::scan(ScanEnvironmentReply& reply) const {
  EngineBase& engine = KestrelVisorEngine::getKestrelVisorInstance();
  std::string description;
  const EnvProxyResult result = engine.scanEnvironment(reply, path_, description);
  if (result.status != 0) {
    throw std::runtime_error("a scan ended with status " + std::to_string(result.status));
  }
  requireWhole(reply);
}

Cost EngineHost::costOfScan() const {
  ScanEnvironmentReply reply;
  return costOf([&] { scan(reply); });
}

void EngineHost::requireWhole(const ScanEnvironmentReply& reply) const {
  require("machines", reply.machine_records_size(), shape_.machines);
  require("disks", reply.disk_records_size(), shape_.allDisks());
  require("other nodes", reply.non_vm_records_size(), shape_.nonMachines());
  require("datastores", reply.datastore_records_size(), shape_.datastores);
}

}  // namespace kestrelvisor::bench
