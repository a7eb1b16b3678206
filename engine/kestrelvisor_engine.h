#pragma once

#include "environment.pb.h"
#include "platform/contract/engine_base.h"
#include "rest/kestrelvisor_rest_api.h"

#include <string>

// The engine that a host drives. The host calls one operation at a time.
//
// Every operation takes its manager from envPath. Element 0 of a list that is empty reads as empty
// text or 0; DisableCBT alone checks the lists. Failures are told in the result. What the manager
// answers may make an operation throw: Json::Exception (a value of the wrong type),
// std::out_of_range (an empty version text), std::logic_error (a login answer without a body),
// std::runtime_error (a time that is no calendar time), std::bad_alloc. Nothing leaks then, and the
// next operation works.
class KestrelVisorEngine : public EngineBase {
 public:
  KestrelVisorEngine();
  // Copies nothing: a copy starts with a REST client of its own.
  KestrelVisorEngine(const KestrelVisorEngine& other);
  KestrelVisorEngine& operator=(const KestrelVisorEngine&) = delete;
  ~KestrelVisorEngine() override;

  // Makes the process's KestrelVisorPublic. Always true.
  bool Init() override;

  // Verifies that address and credentials reach a manager.
  //
  // On success (status 0, no details) description is "OK" and guid is the manager's GUID, made from
  // its site's URI. On failure (status 107, detail 20086) both stay as they are.
  EnvProxyResult VerifyCredentials(const EnvironmentPath& envPath, std::string& description,
                                   std::string& guid) override;

  // Scans the environment into reply, which should be empty, and prints it to standard output.
  //
  // On success (status 0, detail 20063 with the counts of machine and non-VM records) description
  // holds the text that the last REST step left, not an error. On failure (status 104, detail
  // 20111) reply is as it came in.
  EnvProxyResult scanEnvironment(ScanEnvironmentReply& reply, const EnvironmentPath& envPath,
                                 std::string& description) override;

  // Switches changed-block tracking off on the machine with the URI vmUri, which begins with "/".
  //
  // Status 0, or 1 when a list of envPath does not hold exactly one element or the manager's data
  // could not be read (description stays), or 95 to 101 with a text in description. No details.
  EnvProxyResult DisableCBT(const EnvironmentPath& envPath, const std::string& vmUri,
                            std::string& description) override;

  // Nothing to do for this platform; always status 0.
  EnvProxyResult DeleteV3Map(const EnvironmentPath& envPath, const V3MapInfo& info) override;

  // What every operation starts with: negotiates the REST version and fills the record with the
  // manager's own site, if it names exactly one. Returns 0, or the number of the failure's code
  // text.
  long HandleGetVRMInfo(VRM_INFO& vrm, KestrelVisorErrorMessage& err);
  // The same as a yes or no.
  bool fillVrmInfo(VRM_INFO& vrm, KestrelVisorErrorMessage& err);

  // The process's engine, made at the first call and destroyed at exit. A host that loads the
  // library finds the accessor as "_ZN18KestrelVisorEngine23getKestrelVisorInstanceEv".
  static KestrelVisorEngine& getKestrelVisorInstance();

  KestrelVisor_rest_api restApi;  // asks for the REST version and the site
};

// Makes the engine and its singletons; to be called once after loading, more calls do no harm.
// Returns true. A host that loads the library finds it under this plain name.
extern "C" bool kestrelvisor_engine_init();
