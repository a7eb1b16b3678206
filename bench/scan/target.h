#pragma once

#include <cstdint>
#include <string>

namespace kestrelvisor::bench {

// Where requests go: a manager, and the text of the certificate that is trusted for it. An empty
// one stands for the system's trust store.
struct Target {
  std::string url;  // "https://127.0.0.1:1234"
  std::string certificate;

  bool tls() const { return url.starts_with("https:"); }
  std::int32_t port() const { return std::stoi(url.substr(url.rfind(':') + 1)); }
};

}  // namespace kestrelvisor::bench
