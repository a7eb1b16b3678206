#pragma once

#include "vrmsim/http_message.h"
#include "vrmsim/inventory.h"

#include <chrono>
#include <cstdint>
#include <functional>
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
  int status = 0;         // of the answer
  std::string complaint;  // not empty: nobody serves the request, or it could not be read
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
  std::string bindAddress = "127.0.0.1";
  std::uint16_t port = 0;   // 0: the kernel chooses
  bool keepJournal = true;  // false for a process that runs long
  std::function<TimePoint()> clock = std::chrono::system_clock::now;  // asked from any thread
  // Told of each request before its answer goes out, on the simulator's thread.
  std::function<void(const RecordedRequest&)> onRequest;
};

}  // namespace kestrelvisor::vrmsim
