#pragma once

#include "platform/contract/env_proxy_result.h"

#include <string>

class EnvironmentPath;
class ScanEnvironmentReply;

// Argument of EngineBase::DeleteV3Map; the engine never looks into it.
struct V3MapInfo {
  std::string mapId;  // the host's
};

// Root of the host's engines. The host calls one operation at a time.
//
// An operation's result has status 0 on success. description is a text for people; what a failed
// operation leaves in it, and what may throw, is each engine's to tell.
class EngineBase {
 public:
  EngineBase() = default;
  EngineBase(const EngineBase&) = default;
  EngineBase& operator=(const EngineBase&) = default;
  virtual ~EngineBase();

  // Prepares the engine for its operations. Returns false when it cannot work.
  virtual bool Init() = 0;

  // Proves that envPath reaches a manager and that its account is good. guid is then the manager's
  // own, the same each time.
  virtual EnvProxyResult VerifyCredentials(const EnvironmentPath& envPath, std::string& description,
                                           std::string& guid) = 0;

  // Adds to reply what is on the manager that envPath names.
  virtual EnvProxyResult scanEnvironment(ScanEnvironmentReply& reply,
                                         const EnvironmentPath& envPath,
                                         std::string& description) = 0;

  // Switches changed-block tracking off on the machine with the URI vmUri.
  virtual EnvProxyResult DisableCBT(const EnvironmentPath& envPath, const std::string& vmUri,
                                    std::string& description) = 0;

  // Drops a map that the host keeps of a machine.
  virtual EnvProxyResult DeleteV3Map(const EnvironmentPath& envPath, const V3MapInfo& info) = 0;
};
