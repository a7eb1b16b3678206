#pragma once

#include "tests/support/test_headers.h"
#include "tests/vrmsim/rest_client.h"
#include "tests/vrmsim/small_site.h"
#include "vrmsim/simulator.h"

#include <utility>

namespace kestrelvisor::vrmsim::test {

inline SimulatorOptions smallSiteOptions() {
  SimulatorOptions options;
  options.inventory = smallSite();
  return options;
}

// A simulator of the small site and a client of it that has logged in.
class SimulatorTest : public ::testing::Test {
 protected:
  SimulatorTest() { client.logIn(); }

  static std::string under(const std::string& path) { return kSite + path; }

  Simulator simulator{smallSiteOptions()};
  RestClient client{simulator.port()};
};

// The value of one key in each element of a list.
inline std::vector<std::string> eachOf(const Json::Value& list, const char* key) {
  std::vector<std::string> values;
  for (const Json::Value& element : list) values.push_back(element[key].asString());
  return values;
}

}  // namespace kestrelvisor::vrmsim::test
