#pragma once

#include "tests/integration/fault_table/faults.h"
#include "tests/integration/fault_table/request_kinds.h"

#include <cstddef>
#include <string>
#include <vector>

namespace kestrelvisor::test {

// What leaves an operation instead of a result.
enum class Thrown { nothing, loginWithoutBody, oddValue };

inline constexpr const char* kUntouched = "as it was";

// Everything that host, manager and log see of one operation.
struct Course {
  Thrown thrown = Thrown::nothing;
  int status = 0;
  std::vector<std::string> detail;  // its number and parameters; empty: none
  std::string description = kUntouched;
  std::vector<std::string> requests;  // "GET /service/sites"
  std::size_t connections = 0;
  std::size_t ownSessions = 0;     // in the cache of the engine's client
  std::size_t sharedSessions = 0;  // in that of the process's client
  std::vector<std::string> lines;  // of levels 3 and 4: "4 Failed to get OS List"

  bool operator==(const Course&) const = default;
};

// A fault that strikes one request kind's first attempts.
struct Row {
  const RequestKind* kind;
  const Fault* fault;     // null: none
  std::size_t attempts;   // that it strikes
  std::size_t transfers;  // of the operation before the first of them
  // What libcurl noticed where a struck transfer may end in several ways, one for each attempt.
  std::vector<CURLcode> results = {};
};

// The manager as the engine reaches it.
struct Site {
  std::string url;  // "https://127.0.0.1:43127"
  std::string address;
  std::string user;
};

// Tells from the row alone how its operation has to end.
Course expectedCourse(const Row& row, const Site& site);

// The transfers of a clean operation before the kind's first request.
std::size_t transfersBefore(const RequestKind& kind, const Site& site);

// libcurl's text for a result, as it stands in descriptions and log lines.
std::string textOf(CURLcode result);

}  // namespace kestrelvisor::test
