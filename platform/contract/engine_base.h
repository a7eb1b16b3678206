#pragma once

#include "platform/contract/env_proxy_result.h"

#include <string>

class EnvironmentPath;
class ScanEnvironmentReply;

// Argument of EngineBase::DeleteV3Map; the engine never looks into it.
struct V3MapInfo {
  std::string mapId;
};

// Root of the host's engines. The host calls one operation at a time.
class EngineBase {
 public:
  EngineBase() = default;
  EngineBase(const EngineBase&) = default;
  EngineBase& operator=(const EngineBase&) = default;
  virtual ~EngineBase();

  virtual bool Init() = 0;
  virtual EnvProxyResult VerifyCredentials(const EnvironmentPath& envPath, std::string& description,
                                           std::string& guid) = 0;
  virtual EnvProxyResult scanEnvironment(ScanEnvironmentReply& reply,
                                         const EnvironmentPath& envPath,
                                         std::string& description) = 0;
  virtual EnvProxyResult DisableCBT(const EnvironmentPath& envPath, const std::string& vmUri,
                                    std::string& description) = 0;
  virtual EnvProxyResult DeleteV3Map(const EnvironmentPath& envPath, const V3MapInfo& info) = 0;
};
