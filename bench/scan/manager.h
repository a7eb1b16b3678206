#pragma once

#include "bench/scan/child_process.h"
#include "bench/scan/files.h"
#include "bench/scan/shape.h"

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kestrelvisor::bench {

// The one user of the simulated manager.
inline constexpr const char* kUser = "backup";
inline constexpr const char* kPassword = "Backup@123";

// What a manager has counted since its start.
struct ManagerCounts {
  std::uint64_t connections = 0;
  std::uint64_t handshakes = 0;  // of TLS
  std::uint64_t resumed = 0;     // of these, those that took up an earlier session
  std::uint64_t requests = 0;
};

// A simulated manager in a process of its own, on a port of the kernel's choice.
class Manager {
 public:
  struct Options {
    std::string program;
    Shape shape;
    bool tls = false;
    std::string requestLog;  // empty: none
    std::optional<std::uint64_t>
        tokens{};  // the seed of its tokens; nothing: nobody can guess them
  };

  // Starts it and waits until it can be reached. Throws std::runtime_error when it does not start
  // or speaks otherwise.
  explicit Manager(const Options& options);

  const std::string& url() const { return url_; }
  const std::string& certificate() const { return certificate_; }  // PEM text; empty without TLS

  ManagerCounts counts() const;
  double cpuSeconds() const;

 private:
  Json::Value told(const std::string& path) const;  // by its control endpoint

  static std::vector<std::string> commandLine(const Options& options,
                                              const std::string& certificateFile);

  const TemporaryFile certificateFile_;
  ChildProcess process_;
  std::string url_;
  std::string controlUrl_;
  std::string certificate_;
};

}  // namespace kestrelvisor::bench
