#pragma once

#include "kestrelctl/diagnosis/examination.h"

#include <string>
#include <vector>

// How far the way to a manager is open. Each looks at what it needs for that, and at no more.

namespace kestrelvisor::ctl {

bool obeysProxies(const Examination& examination);
bool isHttps(const Examination& examination);

// Whether there is something to connect to.
bool hasAddress(Examination& examination);
bool isConnected(Examination& examination);
// Whether the manager has shown certificates.
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
