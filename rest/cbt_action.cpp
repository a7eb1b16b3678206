// Switches changed-block tracking off on one machine.

#include "base/log.h"
#include "rest/kestrelvisor_rest_api.h"
#include "rest/manager_url.h"

bool KestrelVisor_rest_api::disableVmCbt(VRM_INFO& vrm, const std::string& vmUri,
                                         KestrelVisorErrorMessage& err) {
  const std::string url = kestrelvisor::managerUrl(vrm, vmUri + "/action/CBTbackup");
  protocolVersion = vrm.restVersion;
  err.reset();
  KestrelVisorCertToken token;
  std::string response;
  // Deleting the machine's CBT backup action is what switches tracking off.
  const bool disabled =
      checkLoginAgainAndCert(vrm, err, token) &&
      sendMessageToVrmRetry(vrm, token, SEND_METHOD_DELETE, url, "", response, err);
  if (!disabled) {
    KV_LOG(kError, "Failed to disable CBT for VM with url: ", url,
           ", and with error code: ", err.errorCode);
    return false;
  }
  std::string text;
  getJsonObjAsString(response, text);
  KV_LOG(kInfo, "Succeeded in disabling CBT for VM with url: ", url, ", and with response: ", text);
  return true;
}
