#include "base/vrm_info.h"
#include "platform/contract/helpers.h"

// The check of the record's dynamic type would need the engine, which this library stands below.
__attribute__((no_sanitize("vptr"))) void SetDefaultValueForVRMInfo(VRM_INFO& vrm) {
  vrm.type = 1;
  wipeString(vrm.clientPassword);
  for (std::string* const text :
       {&vrm.objectStr, &vrm.KestrelVisorObj::name, &vrm.oldGuid, &vrm.guid, &vrm.urn, &vrm.uri,
        &vrm.name, &vrm.vrmIp, &vrm.clientUsername, &vrm.vrmCert, &vrm.spareText1, &vrm.spareText2,
        &vrm.restVersion}) {
    text->clear();
  }
  vrm.isSelf = false;
  vrm.vrmPort = 0;
  vrm.useHttps = 0;
  vrm.spareNumber1 = 0;
  vrm.spareNumber2 = 0;
  vrm.spareNumber3 = 0;
}
