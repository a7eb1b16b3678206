#include "base/vrm_info.h"

KestrelVisorObj::~KestrelVisorObj() = default;

VRM_INFO::~VRM_INFO() {
  if (!clientPassword.empty()) wipeString(clientPassword);
}
