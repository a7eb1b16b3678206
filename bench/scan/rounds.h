#pragma once

#include "bench/scan/cost.h"
#include "bench/scan/manager.h"

#include <json/json.h>

#include <functional>
#include <string>
#include <vector>

namespace kestrelvisor::bench {

// Who takes part in the rounds, and how it does the work once.
struct Contender {
  std::string name;
  std::function<Cost()> run;
};

// Lets the contenders do the work by turns, round after round, of which each begins with another
// one. The first run of each does not count. Returns "rounds", with the cost of each contender and
// what the manager has seen of it, and "fullHandshakes", those that took up no session.
Json::Value measureRounds(const std::vector<Contender>& contenders, const Manager& manager,
                          int rounds);

}  // namespace kestrelvisor::bench
