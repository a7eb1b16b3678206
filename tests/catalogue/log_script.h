#pragma once

#include "base/vrm_info.h"
#include "platform/reference/logging.h"
#include "tests/catalogue/told_lines.h"

#include <cstdint>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::test {

inline constexpr std::uint64_t kRequestId = 4711;
inline constexpr std::int64_t kNow = 1700000000;  // what the engine's clock says

// The records that a scenario must leave, in order and nothing else, named by the catalogue.
//
// The exchanges of a session are the same in every scenario, so they have steps of their own.
class Script {
 public:
  Script() = default;
  // For the manager that a record names.
  explicit Script(const VRM_INFO& vrm);

  // One line with its variable pieces.
  Script& line(std::string_view id, std::vector<std::string> values = {});

  // The headers and the URL of an authenticated request.
  Script& assembled(const std::string& path);
  // An authenticated request and its answer.
  Script& answered(const std::string& path, const std::string& body,
                   const std::string& status = "200");
  // An authenticated request that a bare 500 refuses, for good.
  Script& refused(const std::string& path);
  // A query likewise; it ends the session.
  Script& queryRefused(const std::string& path);
  // The assembly of a login's request.
  Script& loginPosted();
  // A login up to its answer, without a session in the cache.
  Script& loginAsked();
  // A good login, likewise.
  Script& loggedIn();
  // What a good login leaves behind its answer.
  Script& loginTaken(std::int64_t now = kNow);
  // A session from the cache.
  Script& sessionReused();
  // The DELETE of a session.
  Script& sessionEnded();
  // What the destructor of a client leaves for its one session.
  Script& loggedOut();

  std::string url(const std::string& path) const { return base_ + path; }

  // One line of text for each record.
  std::string text() const;
  const std::set<std::string, std::less<>>& ids() const { return ids_; }

 private:
  std::string base_;
  std::string address_;
  std::string text_;
  std::set<std::string, std::less<>> ids_;
};

// The engine's records in the form of Script::text.
std::string textOf(std::span<const LogRecord> records);

// Drives the engine to write lines, and tells which.
struct Scenario {
  const char* name;
  Script (*provoke)();

  // Test reports and ctest's list show it by its name.
  friend void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }
};

std::span<const Scenario> sessionScenarios();
std::span<const Scenario> inventoryScenarios();
std::span<const Scenario> treeScenarios();
std::span<const Scenario> operationScenarios();

}  // namespace kestrelvisor::test
