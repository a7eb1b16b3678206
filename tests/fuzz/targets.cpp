#include "tests/fuzz/targets.h"

#include "platform/contract/helpers.h"
#include "platform/reference/logging.h"
#include "platform/reference/password_cipher.h"
#include "rest/clock.h"
#include "tests/fuzz/scripted_manager.h"
#include "tests/fuzz/session.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <list>

namespace kestrelvisor::fuzz {
namespace {

constexpr int kNoLog = 5;
constexpr const char* kKey = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
constexpr const char* kPassword = "Correct-Horse-Battery-7";
constexpr const char* kGoodSites = R"({"sites":[{"isSelf":true,"urn":"urn:sites:1"}]})";

constexpr std::array<Target, 18> kTargets{{
    {"versions", versions},
    {"login", login},
    {"header_block", headerBlock},
    {"error_body", errorBody},
    {"disable_cbt", disableCbt},
    {"sites", sites},
    {"clusters", clusters},
    {"hosts", hosts},
    {"datastores", datastores},
    {"machine_page", machinePage},
    {"machine_detail", machineDetail},
    {"volumes", volumes},
    {"guest_systems", guestSystems},
    {"scan", scan},
    {"json_text", jsonText},
    {"uri_and_urn", uriAndUrn},
    {"uuid", uuid},
    {"redaction", redaction},
}};

std::time_t fixedTime() { return static_cast<std::time_t>(kNow); }

std::string encryptedPassword() {
  std::string problem;
  std::string cipher;
  require(setPasswordKey(kKey, problem) && encryptPassword(kPassword, cipher, problem),
          "a password can be encrypted");
  return cipher;
}

VRM_INFO makeConnection() {
  VRM_INFO vrm;
  SetDefaultValueForVRMInfo(vrm);
  vrm.vrmIp = "127.0.0.1";
  vrm.vrmPort = 7070;
  vrm.useHttps = 0;
  vrm.clientUsername = "backup";
  vrm.clientPassword = encryptedPassword();
  vrm.urn = "urn:sites:1";
  vrm.uri = "/service/sites/1";
  vrm.name = "site";
  vrm.restVersion = "1.2";
  return vrm;
}

VRMCertTokenInfo makeSession() {
  VRMCertTokenInfo session{connection(), {}};
  session.vrmInfo.clientPassword = std::string(kPassword);
  session.certToken.validTime = 1800;
  session.certToken.startTime = kNow;
  session.certToken.authToken = "t";
  return session;
}

}  // namespace

const Target* findTarget(std::string_view name) {
  const auto* const found = std::ranges::find(kTargets, name, &Target::name);
  return found == kTargets.end() ? nullptr : found;
}

void prepareProcess() {
  LogOptions options;
  options.threshold = kNoLog;
  std::string problem;
  require(configureLogging(options, problem), "the log can be switched off");
  setClock(fixedTime);
}

void require(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}

VRM_INFO connection() {
  static const VRM_INFO record = makeConnection();
  return record;
}

Client::Client() {
  static const VRMCertTokenInfo session = makeSession();
  tokenMap.insert({session.vrmInfo.vrmIp, session});
}

void Client::requireToWork() {
  const ScriptedManager manager(kGoodSites);
  VRM_INFO vrm = connection();
  KestrelVisorErrorMessage error;
  std::list<VRM_INFO> found;
  require(getAllVRMsInfoInADomain(vrm, true, found, error) && found.size() == 1,
          "the next operation works");
}

}  // namespace kestrelvisor::fuzz
