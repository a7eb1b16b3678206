#pragma once

#include "vrmsim/options.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

// A manager on a real socket, served by a thread of its own from construction to destruction. All
// members may be called from any thread.
class Simulator {
 public:
  // Throws std::runtime_error when the address cannot be served, std::invalid_argument when no
  // certificate has the name in the options.
  explicit Simulator(SimulatorOptions options);
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  std::uint16_t port() const;
  std::string address() const;              // that it listens on, without brackets
  std::string url() const;                  // "https://127.0.0.1:43127"
  std::string certificatePem() const;       // what a client has to trust; empty without TLS
  std::string controlUrl() const;           // "http://127.0.0.1:43128"; empty without such a port
  std::uint64_t handshakes() const;         // of TLS that clients began, whatever became of them
  std::uint64_t resumedHandshakes() const;  // those of them that resumed a session, to their end

  // The requests so far, oldest first. A request stands here before its answer is sent.
  std::vector<RecordedRequest> journal() const;
  void clearJournal();

  // Sessions that a client could still use.
  std::size_t openSessions() const;

  // Lets all sessions be past their validity, or be unknown, as after the manager's restart.
  void expireSessions();
  void forgetSessions();

  // Whether changed-block tracking is on for the VM of this uri; nothing for an unknown VM.
  std::optional<bool> cbtEnabled(const std::string& vmUri) const;

  Inventory inventory() const;

  // Hands the inventory to change and serves what it has become. Requests wait meanwhile.
  void changeInventory(const std::function<void(Inventory&)>& change);

  // Puts a fault in force for the requests and connections to come: words such as
  // "path=/service/sites nth=2 status=503", as docs/faults.md tells. Of several rules whose turn it
  // is at once the oldest acts. Throws FaultRuleError.
  void addFault(const std::string& rule);
  void addFault(FaultRule rule);
  void clearFaults();

  // The rules in force in the order in which they came; the names of those that nothing has met
  // yet.
  std::vector<FaultCount> faults() const;
  std::vector<std::string> unfiredFaults() const;

  // The nth request from now on, counted from 1, with this method and path gets the answer, once. A
  // path with "?" is compared with the whole target, one without it with the target's path. Such a
  // request reaches neither sessions nor inventory. A fault rule like any other.
  void answerOnce(const std::string& method, const std::string& path, std::uint32_t nth,
                  CannedAnswer answer);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace kestrelvisor::vrmsim
