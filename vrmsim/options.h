#pragma once

#include "vrmsim/certificate.h"
#include "vrmsim/fault_rule.h"
#include "vrmsim/http_message.h"
#include "vrmsim/inventory.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

using TimePoint = std::chrono::system_clock::time_point;

struct User {
  std::string name = "backup";
  std::string password = "Backup@123";
  std::vector<std::string> roles{"administrator"};
};

// One request as it came in and what became of it.
struct RecordedRequest {
  std::uint64_t sequence = 0;    // counted from 1
  std::uint64_t connection = 0;  // counted from 1
  TimePoint time;                // by the simulator's clock
  bool tls = false;
  std::string method;
  std::string target;
  std::vector<Header> headers;  // in wire order, names and values to the letter
  std::string body;
  int status = 0;         // of the answer; 0 when none goes out
  std::string complaint;  // not empty: nobody serves the request, or it could not be read
  std::string fault;      // name of the rule that hit; empty: none did
};

// A fault that hit a connection before its first request.
struct ConnectionFault {
  std::uint64_t connection = 0;  // counted from 1
  TimePoint time;                // by the simulator's clock
  bool tls = false;
  std::string stage;  // "accept" or "handshake"
  std::string fault;  // name of the rule
};

// How often a fault rule was met so far.
struct FaultCount {
  std::string name;
  std::string rule;  // its words
  std::uint64_t hits = 0;
};

// An answer that stands in for the simulator's own.
struct CannedAnswer {
  int status = 200;
  std::vector<Header> headers;  // beyond Content-Type, Content-Length and the like
  std::string body;
};

struct SimulatorOptions {
  Inventory inventory;
  std::vector<User> users{User{}};
  std::vector<std::string> versions{"v1.2", "v6.0", "v6.5"};  // offered, in this order
  std::chrono::milliseconds tokenValidity = std::chrono::minutes(30);
  bool tls = false;
  std::string certificate;  // a name of vrmsim/certificate_matrix.h; empty: a good self-signed one
  // Whether a client may resume a TLS session. Nothing: only with the good self-signed certificate;
  // one of the matrix is shown in each handshake.
  std::optional<bool> tlsResumption;
  std::optional<TlsVersion> tlsVersion;  // the only one that it speaks
  std::string bindAddress = "127.0.0.1";
  std::uint16_t port = 0;   // 0: the kernel chooses
  bool keepJournal = true;  // false for a process that runs long
  std::function<TimePoint()> clock = std::chrono::system_clock::now;  // asked from any thread
  // Told of each request before its answer goes out, on the simulator's thread.
  std::function<void(const RecordedRequest&)> onRequest;

  std::vector<FaultRule> faults;  // in force from the first connection on
  // For chance, garbage and the tokens of sessions. Without it the first two take 1, and nobody can
  // guess a token.
  std::optional<std::uint64_t> faultSeed;
  // Of the control endpoint at 127.0.0.1; 0: the kernel chooses; nothing: there is none.
  std::optional<std::uint16_t> controlPort;
  // Told of each such fault before it shows itself, on the simulator's thread.
  std::function<void(const ConnectionFault&)> onConnectionFault;
};

}  // namespace kestrelvisor::vrmsim
