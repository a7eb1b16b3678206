#include "engine/kestrelvisor_engine.h"

#include "base/list_room.h"
#include "base/log.h"
#include "engine/error_model.h"
#include "engine/kestrelvisor_public.h"

#include <cstdint>
#include <list>
#include <string_view>
#include <utility>

namespace {

constexpr std::int32_t kPlainHttp = 1;

// Element 0 of a request's list; an absent one reads as empty text or 0.
std::string firstOf(const google::protobuf::RepeatedPtrField<std::string>& texts) {
  return texts.empty() ? std::string() : texts.Get(0);
}

std::int32_t firstOf(const google::protobuf::RepeatedField<std::int32_t>& numbers) {
  return numbers.empty() ? 0 : numbers.Get(0);
}

// The request's 1 means plain HTTP, the record's 0 does.
std::int32_t httpsOf(const EnvironmentPath& envPath) {
  return firstOf(envPath.protocol()) != kPlainHttp ? 1 : 0;
}

void fillFromRequest(const EnvironmentPath& envPath, VRM_INFO& vrm) {
  SetDefaultValueForVRMInfo(vrm);
  vrm.vrmIp = firstOf(envPath.hv_address());
  vrm.vrmPort = firstOf(envPath.port());
  vrm.useHttps = httpsOf(envPath);
  vrm.clientUsername = firstOf(envPath.username());
  vrm.clientPassword = firstOf(envPath.password());
  vrm.vrmCert = firstOf(envPath.cert());
}

}  // namespace

KestrelVisorEngine::KestrelVisorEngine() = default;

KestrelVisorEngine::KestrelVisorEngine(const KestrelVisorEngine& other) : EngineBase(other) {}

KestrelVisorEngine::~KestrelVisorEngine() = default;

bool KestrelVisorEngine::Init() {
  KestrelVisorPublic::getInstance();
  return true;
}

EnvProxyResult KestrelVisorEngine::VerifyCredentials(const EnvironmentPath& envPath,
                                                     std::string& description, std::string& guid) {
  EnvProxyResult result;
  VRM_INFO vrm;
  fillFromRequest(envPath, vrm);
  KestrelVisorErrorMessage err;
  const auto fail = [&](std::string_view line) {
    KV_LOG(kError, line);
    result.AddDetail(kestrelvisor::kDetailNotVerified,
                     err.errorDescription + " The error code is " + err.errorCode + ".", "", "");
    result.status = kestrelvisor::kStatusNotVerified;
    return result;
  };

  if (HandleGetVRMInfo(vrm, err) != 0) return fail(" Get VRM information failed !");
  if (KestrelVisorPublic::getInstance().VerifyCredentials(vrm, err) != 0) {
    return fail(" Verify Credentials failed !");
  }
  description = err.errorDescription;
  // From the site, not from the address: two addresses of one manager give one GUID.
  guid = EnvProxy_string_to_uuid(vrm.uri);
  wipeString(vrm.clientPassword);
  KV_LOG(kTrace, "new VRM GUID is :", guid);
  return result;
}

EnvProxyResult KestrelVisorEngine::scanEnvironment(ScanEnvironmentReply& reply,
                                                   const EnvironmentPath& envPath,
                                                   std::string& description) {
  EnvProxyResult result;
  VRM_INFO vrm;
  fillFromRequest(envPath, vrm);
  KestrelVisorErrorMessage err;
  const auto fail = [&](std::string_view line) {
    KV_LOG(kError, line);
    // No blank in front of "The", unlike a failed verification: hosts match either text.
    result.AddDetail(kestrelvisor::kDetailScanFailed,
                     err.errorDescription + "The error code is " + err.errorCode + ".", "", "");
    result.status = kestrelvisor::kStatusScanFailed;
    return result;
  };

  if (HandleGetVRMInfo(vrm, err) != 0) return fail(" Get VRM information failed !");
  if (KestrelVisorPublic::getInstance().scanEnvironment(vrm, reply, err) != 0) {
    description = err.errorDescription;
    wipeString(vrm.clientPassword);
    return fail(" Scan Environment failed !");
  }
  std::string machines = std::to_string(reply.machine_records_size());
  std::string others = std::to_string(reply.non_vm_records_size());
  KV_LOG(kInfo, "Scan Environment success version is:", vrm.restVersion);
  kestrelvisor::withRoomForOne(*reply.mutable_environment_version()).Add()->assign(vrm.restVersion);
  result.AddDetail(kestrelvisor::kDetailScanned, std::move(machines), std::move(others), "");
  description = err.errorDescription;
  wipeString(vrm.clientPassword);
  return result;
}

EnvProxyResult KestrelVisorEngine::DisableCBT(const EnvironmentPath& envPath,
                                              const std::string& vmUri, std::string& description) {
  EnvProxyResult result;
  VRM_INFO vrm;
  SetDefaultValueForVRMInfo(vrm);
  // Takes one list into the record, if it holds exactly one element.
  const auto take = [](const auto& list, std::string_view name, auto& field) {
    if (list.size() != 1) {
      KV_LOG(kError, "Parameter of ", name, " is not exist !");
      return false;
    }
    field = list.Get(0);
    return true;
  };
  std::int32_t protocol = 0;
  const bool complete = take(envPath.hv_address(), "envPath.hv_address", vrm.vrmIp) &&
                        take(envPath.port(), "envPath.port", vrm.vrmPort) &&
                        take(envPath.protocol(), "envPath.protocol", protocol) &&
                        take(envPath.username(), "envPath.username", vrm.clientUsername) &&
                        take(envPath.password(), "envPath.password", vrm.clientPassword) &&
                        take(envPath.cert(), "envPath.cert", vrm.vrmCert);
  if (!complete) {
    result.status = kestrelvisor::kStatusParameterOrDataMissing;
    return result;
  }
  vrm.useHttps = httpsOf(envPath);

  KestrelVisorErrorMessage err;
  if (!fillVrmInfo(vrm, err)) {
    KV_LOG_AS(kestrelvisor::kApiTag, kError, "Get VRM Info error!");
    result.status = kestrelvisor::kStatusParameterOrDataMissing;
    return result;
  }
  result.status = KestrelVisorPublic::getInstance().DisableCBT(vrm, vmUri, description, err);
  wipeString(vrm.clientPassword);
  return result;
}

EnvProxyResult KestrelVisorEngine::DeleteV3Map(const EnvironmentPath&, const V3MapInfo&) {
  return {};
}

long KestrelVisorEngine::HandleGetVRMInfo(VRM_INFO& vrm, KestrelVisorErrorMessage& err) {
  if (!restApi.getKestrelVisorSupportRestVersion(vrm, vrm.restVersion, err)) {
    KV_LOG(kError,
           "Query the protected environment REST version failed, reason:", err.errorDescription);
    return KestrelVisorPublic::getAviaryStateCode(err.errorCode);
  }
  std::list<VRM_INFO> sites;
  if (!restApi.getAllVRMsInfoInADomain(vrm, true, sites, err)) {
    KV_LOG(kError, "Get VRM information failed !");
    return KestrelVisorPublic::getAviaryStateCode(err.errorCode);
  }
  if (sites.size() == 1) {
    const VRM_INFO& site = sites.front();
    vrm.urn = site.urn;
    vrm.uri = site.uri;
    vrm.name = site.name;
    vrm.vrmIp = site.vrmIp;  // from here on the address that the manager reports for itself
    vrm.isSelf = site.isSelf;
  }
  return 0;
}

bool KestrelVisorEngine::fillVrmInfo(VRM_INFO& vrm, KestrelVisorErrorMessage& err) {
  if (HandleGetVRMInfo(vrm, err) == 0) return true;
  KV_LOG_AS(kestrelvisor::kApiTag, kError, "Get VRM Info error! VRM_IP=[", vrm.vrmIp, "]");
  return false;
}

KestrelVisorEngine& KestrelVisorEngine::getKestrelVisorInstance() {
  static KestrelVisorEngine instance;
  return instance;
}

extern "C" bool kestrelvisor_engine_init() {
  KV_LOG_WITHOUT_REQUEST(kInfo,
                         "Environment Proxy: KestrelVisor Proxy Engine init function was called");
  return KestrelVisorEngine::getKestrelVisorInstance().Init();
}
