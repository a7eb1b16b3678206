#pragma once

#include "base/vrm_info.h"
#include "rest/kestrelvisor_rest_api.h"

#include <cstdint>

// What the targets need of a client and its session.
namespace kestrelvisor::fuzz {

// The seconds since 1970 that the engine's clock shows.
inline constexpr std::uint64_t kNow = 1790000000;

// The record of a manager that nobody reaches, as an operation would hold it.
VRM_INFO connection();

// A client that holds a good session with that manager. It forgets its sessions at its end.
class Client : public KestrelVisor_rest_api {
 public:
  Client();
  ~Client() { tokenMap.clear(); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // Ends the process unless a query with a good answer works.
  void requireToWork();
};

// As Client, but of the engine's own class: only that one reads the machines of a page in place.
class PlainClient {
 public:
  PlainClient() { api.tokenMap = Client().tokenMap; }
  ~PlainClient() { api.tokenMap.clear(); }
  PlainClient(const PlainClient&) = delete;
  PlainClient& operator=(const PlainClient&) = delete;

  KestrelVisor_rest_api api;
};

}  // namespace kestrelvisor::fuzz
