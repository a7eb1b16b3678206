// Keeps one session for each manager address, and is the single way to a token.

#include "base/log.h"
#include "platform/contract/security.h"
#include "rest/clock.h"
#include "rest/kestrelvisor_rest_api.h"

#include <boost/date_time/c_time.hpp>

#include <cstdint>
#include <ctime>

namespace {

// Replaces an encrypted password by its plaintext; false when it cannot be decrypted.
bool decryptPassword(VRM_INFO& vrm) {
  SecString plaintext;
  if (SecuritySS::KmcDecryptInfo(vrm.clientPassword, plaintext) != 0) return false;
  vrm.clientPassword = std::string(plaintext);
  return true;
}

}  // namespace

void SetDefaultValueForKestrelVisorCertToken(KestrelVisorCertToken& token) {
  token = KestrelVisorCertToken();
}

bool IsKestrelVisorCertTokenValid(const KestrelVisorCertToken& token, std::uint64_t now) {
  KV_LOG(kInfo, "valid time:", token.validTime, ",start time:", token.startTime,
         ",current time:", now);
  // Half of the validity is the limit. The difference wraps when the clock was set backwards, and
  // the token then counts as stale.
  if (now - token.startTime <= token.validTime / 2) return true;
  KV_LOG(kWarning, "valid time:", token.validTime, ",start time:", token.startTime,
         ",current time:", now);
  return false;
}

std::uint64_t KestrelVisor_rest_api::getLocalTime() {
  const std::time_t now = kestrelvisor::wallClockSeconds();
  std::tm utc{};
  boost::date_time::c_time::gmtime(&now, &utc);  // throws when there is no such calendar time
  // Boost's dates end with the year 9999; a clock that is off by more must not end an operation.
  const auto seconds = static_cast<std::uint64_t>(timegm(&utc));
  KV_LOG(kInfo, "Snap create time=", seconds);
  return seconds;
}

bool KestrelVisor_rest_api::getTokenFromMap(const VRM_INFO& vrm, KestrelVisorCertToken& token) {
  const auto found = tokenMap.find(vrm.vrmIp);
  if (found == tokenMap.end()) {
    KV_LOG(kWarning, "get token from map failed,vrmip: ", vrm.vrmIp);
    return false;
  }
  const VRMCertTokenInfo& session = found->second;
  // Before the comparisons: whoever logs in anew needs the old token to end the old session.
  token = session.certToken;
  if (session.vrmInfo.clientUsername != vrm.clientUsername) {
    KV_LOG(kWarning, "The clientUsername is changed,vrmip: ", vrm.vrmIp,
           ",name: ", vrm.clientUsername);
    return false;
  }
  if (session.vrmInfo.clientPassword != vrm.clientPassword) {
    KV_LOG(kWarning, "The password is changed,vrmip: ", vrm.vrmIp, ",name: ", vrm.clientUsername);
    return false;
  }
  return true;
}

bool KestrelVisor_rest_api::checkLoginAgainAndCert(const VRM_INFO& vrm,
                                                   KestrelVisorErrorMessage& err,
                                                   KestrelVisorCertToken& token) {
  VRM_INFO plain(vrm);
  if (!decryptPassword(plain)) {
    KV_LOG(kError, "Decryption failed !");
    return false;
  }
  if (getTokenFromMap(plain, token) && IsKestrelVisorCertTokenValid(token, getLocalTime())) {
    return true;
  }
  KV_LOG(kInfo, "send request to KestrelVisor with rest version = ", protocolVersion);
  logoutFromKestrelVisor(plain, token);

  std::string httpCode;
  std::string errorCode;
  std::string errorMsg;
  if (!logIn(plain, httpCode, errorCode, token, errorMsg)) {
    err.setErrorCode(errorCode, CBT_GET_OK);
    err.setErrorDescription(errorMsg);
    logoutFromKestrelVisor(plain, token);
    KV_LOG(kError, "checkLoginAgainAndCert: logIn is failed,reason is ", errorCode);
    return false;
  }
  tokenMap.insert({plain.vrmIp, VRMCertTokenInfo{plain, token}});
  KV_LOG(kInfo, "Success to Login with the credential and cert.");
  return true;
}
