#pragma once

#include "base/constants.h"
#include "base/wipe_string.h"

#include <cstdint>
#include <string>

// Base of the connection record and of all inventory objects.
//
// Special members stand in the library, so that what it exports does not hang on inlining.
class KestrelVisorObj {
 public:
  KestrelVisorObj();
  KestrelVisorObj(const KestrelVisorObj&);
  KestrelVisorObj& operator=(const KestrelVisorObj&);
  virtual ~KestrelVisorObj();

  std::int32_t type = kestrelvisor::kKindNotSet;  // 5 host, 6 cluster, 7 virtual machine
  std::string objectStr;                          // URI as the manager gives it
  std::string name;                               // display name
  std::string oldGuid;  // a machine's "uuid"; else the UUID made from the URI
  std::string guid;     // identifier under which the object enters the tree
};

// How one operation reaches one manager, and which site it found there.
//
// The password is wiped when the record ends, or when a copy of it finds no memory half-way.
// Assignment is deleted: a connection is described once, for one operation.
class VRM_INFO : public KestrelVisorObj {
 public:
  VRM_INFO();
  VRM_INFO(const VRM_INFO&);
  VRM_INFO& operator=(const VRM_INFO&) = delete;
  ~VRM_INFO() override;

  std::string urn;   // site, key "urn" of /service/sites
  std::string uri;   // site, key "uri"; prefix of every later path
  std::string name;  // site, key "name"; not the base's name
  std::int32_t spareNumber1 = 0;
  std::string vrmIp;           // from the request, then key "ip" of the local site
  std::string clientUsername;  // from the request
  // From the request, encrypted; plaintext in a login's own copy.
  kestrelvisor::SecretString clientPassword;
  std::string vrmCert;       // from the request, for SecuritySS::enrichSSL
  bool isSelf = false;       // site, key "isSelf"
  std::int32_t vrmPort = 0;  // from the request
  std::int32_t spareNumber2 = 0;
  std::int32_t spareNumber3 = 0;
  std::int32_t useHttps = 0;  // 0: http; anything else: https, with enrichSSL only when exactly 1
  std::string spareText1;
  std::string spareText2;
  std::string restVersion;  // negotiated with the manager
};
