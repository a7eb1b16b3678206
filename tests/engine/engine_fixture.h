#pragma once

#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"
#include "tests/support/fake_manager.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

namespace kestrelvisor::test {

inline constexpr const char* kVersions = "/service/versions";
inline constexpr const char* kSites = "/service/sites";
inline constexpr const char* kSession = "/service/session";

// The answer of a manager whose own site has this address.
Answer ownSite(const std::string& ip);

// A manager with the site "/service/sites/1" and REST version 6.5, and an engine that the host made
// itself. No session of an earlier case is left.
class EngineTest : public ::testing::Test {
 protected:
  EngineTest();
  ~EngineTest() override;

  // Lets a scan of the site find one host and nothing else.
  void hasOneHost();

  LogCapture log;
  FakeManager manager;
  KestrelVisorEngine engine;
  std::string description = "as it was";
};

// A result without details and texts.
MATCHER_P(IsBare, status, "") {
  return arg.status == status && arg.details.empty() && arg.text.empty() &&
         arg.furtherDetails.empty();
}

// A result with one detail.
MATCHER_P3(HasDetail, status, id, parameters, "") {
  if (arg.status != status || arg.details.size() != 1 || !arg.furtherDetails.empty()) return false;
  const message& detail = arg.details.front();
  *result_listener << "whose parameters are " << ::testing::PrintToString(detail.detailParams);
  return detail.detailId == id && detail.detailParams == parameters;
}

using Parameters = std::list<std::string>;

}  // namespace kestrelvisor::test
