#pragma once

#include "kestrelctl/diagnosis/examination.h"

#include <string>
#include <vector>

// How far the way to a manager is open. Each looks at what it needs for that, and at no more.

namespace kestrelvisor::ctl {

// Whether the way to the manager goes over a proxy.
bool obeysProxies(const Examination& examination);
inline constexpr const char* kProxyRemedy =
    "check the proxy, name the manager in no_proxy, or leave out --use-environment";

bool isHttps(const Examination& examination);

// Whether there is something to connect to.
bool hasAddress(Examination& examination);
bool isConnected(Examination& examination);
// Whether requests can be sent, by whatever the manager's scheme needs, to whoever it is.
bool isGreeted(Examination& examination);
// Whether the manager has shown certificates, and that they are its own.
bool hasChain(Examination& examination);
// Of one that has: whether its public key is another than the one that is kept.
bool hasOtherKey(Examination& examination);
// Whether a version of TLS is one that the engine speaks.
bool isModern(const std::string& protocol);
// Whether a request may go to the manager.
bool isTrusted(Examination& examination);
// Whether it has told versions that the engine can speak.
bool isUnderstood(Examination& examination);

// "a, b and c"; of many the first ones.
std::string listed(const std::vector<std::string>& words);

}  // namespace kestrelvisor::ctl
