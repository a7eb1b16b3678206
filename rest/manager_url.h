#pragma once

#include "base/vrm_info.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrelvisor {

// What KestrelVisor_rest_api::constructURLCurl takes as the type of a session's URL.
inline constexpr unsigned int kSessionOverHttps = 1;
inline constexpr unsigned int kSessionOverHttp = 2;

// scheme://address:port and a path that begins with "/".
inline std::string absoluteUrl(bool https, std::string_view address, std::int32_t port,
                               std::string_view path) {
  std::string url(https ? "https://" : "http://");
  url.append(address).append(":").append(std::to_string(port)).append(path);
  return url;
}

// The URL of a path on the manager that a record names.
inline std::string managerUrl(const VRM_INFO& vrm, std::string_view path) {
  return absoluteUrl(vrm.useHttps != 0, vrm.vrmIp, vrm.vrmPort, path);
}

}  // namespace kestrelvisor
