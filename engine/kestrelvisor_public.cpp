#include "engine/kestrelvisor_public.h"

#include "base/log.h"
#include "engine/error_model.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace {

constexpr int kHttpClientPort = 7070;

constexpr std::array<const char*, 8> kResidentCodes{"10000005", "10000006", "10000009", "10300112",
                                                    "10300318", "10300153", "10300502", "10300162"};

struct CredentialFailure {
  std::int32_t number;
  const char* text;
};

constexpr std::array<CredentialFailure, 3> kCredentialFailures{{
    {kestrelvisor::kStateWrongCredentials,
     "Miss or input wrong KestrelVisor VRM username/password."},
    {kestrelvisor::kStateUnreachable, "Can not connect to the specified KestrelVisor VRM."},
    {kestrelvisor::kStateNoCertificate, "Failed to get KestrelVisor VRM ceritificate"},
}};
constexpr const char* kOtherCredentialFailure = "KestrelVisor Engine internal error.";

struct CbtFailure {
  std::int64_t code;
  EnvProxyStatus status;
  const char* text;
};

constexpr std::array<CbtFailure, 7> kCbtFailures{{
    {10000004, kestrelvisor::kStatusDatabaseFailure, "KestrelVisor database operation failure"},
    {10000008, kestrelvisor::kStatusObjectMissing, "KestrelVisor object does not exist"},
    {10300427, kestrelvisor::kStatusTemplateNotSupported,
     "Virtual Machine template does not support disabling CBT"},
    {10300428, kestrelvisor::kStatusLinkedCloneNotSupported,
     "this type of Virtual Machine (link-cloned) does not support disabling CBT"},
    {10430044, kestrelvisor::kStatusDatastoreNotSupported,
     "this type of datastore does not support disabling CBT"},
    {10430045, kestrelvisor::kStatusDisableFailed, "KestrelVisor failed to disable CBT"},
    {11000000, kestrelvisor::kStatusUnknownError, "KestrelVisor internal error"},
}};
constexpr CbtFailure kOtherCbtFailure{0, kestrelvisor::kStatusUnknownError, "unknown error"};

const char* describeCredentialFailure(std::int32_t number) {
  for (const CredentialFailure& failure : kCredentialFailures) {
    if (failure.number == number) return failure.text;
  }
  return kOtherCredentialFailure;
}

const CbtFailure& findCbtFailure(std::int64_t code) {
  for (const CbtFailure& failure : kCbtFailures) {
    if (failure.code == code) return failure;
  }
  return kOtherCbtFailure;
}

// A whole text as a signed decimal number, with an optional sign.
std::optional<std::int64_t> toNumber(std::string_view text) {
  const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
  if (plus) text.remove_prefix(1);
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

KestrelVisorPublic::KestrelVisorPublic()
    : residentCodes(kResidentCodes.begin(), kResidentCodes.end()) {}

KestrelVisorPublic::~KestrelVisorPublic() = default;

KestrelVisorPublic& KestrelVisorPublic::getInstance() {
  static KestrelVisorPublic instance;
  return instance;
}

int KestrelVisorPublic::getHttpClientPort() { return kHttpClientPort; }

int KestrelVisorPublic::getAviaryStateCode(std::string codeText) {
  for (const VrmAviaryState& state : vrmAviaryStateTable) {
    if (state.codeText == codeText) return state.number;
  }
  return kestrelvisor::kStateDefault;
}

long KestrelVisorPublic::VerifyCredentials(VRM_INFO& vrm, KestrelVisorErrorMessage& err) {
  KV_LOG(kProgress, "KestrelVisorPublic::VerifyCredentials: VRM username: ", vrm.clientUsername);
  KV_LOG(kInfo, "KestrelVisorPublic::validateCredential: Start to validate cred.");
  KV_LOG(kInfo, "KestrelVisorPublic::validateCredential: port and protocol type", vrm.vrmPort, " ",
         vrm.useHttps);
  if (restApi.verifyAuth(vrm, err)) {
    err.setErrorDescription("OK");
    return 0;
  }
  const int number = getAviaryStateCode(err.errorCode);
  err.errorDescription = describeCredentialFailure(number);
  KV_LOG(kInfo, "Failed to validate credential,Error Code: ", number);
  KV_LOG(kProgress, "Errer Des: ", err.errorDescription);
  return number;
}

EnvProxyStatus KestrelVisorPublic::DisableCBT(VRM_INFO& vrm, const std::string& vmUri,
                                              std::string& description,
                                              KestrelVisorErrorMessage& err) {
  description.clear();
  if (restApi.disableVmCbt(vrm, vmUri, err)) return kestrelvisor::kStatusSuccess;

  KV_LOG_AS(kestrelvisor::kApiTag, kError, "Failed to disable the CBT for VM with uri: ", vmUri,
            ", and with error code: ", err.errorCode);
  const std::optional<std::int64_t> code = toNumber(err.errorCode);
  if (!code) {
    KV_LOG_AS(kestrelvisor::kApiTag, kError, "Failed to convert the string: ", err.errorCode,
              " to an integer number");
  }
  const CbtFailure& failure = code ? findCbtFailure(*code) : kOtherCbtFailure;
  description = failure.text;
  return failure.status;
}
