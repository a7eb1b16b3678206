#pragma once

#include "kestrelctl/diagnosis/examination.h"
#include "kestrelctl/diagnosis/finding.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// One question about what lies between this machine and a manager's data.
struct Check {
  const char* key;    // for programs
  const char* title;  // for people
  // Throws Interrupted.
  Finding (*look)(Examination& examination);
};

// All of them, each after those that it builds on.
const std::vector<Check>& checks();

// Whole parts of checks that depend on nothing but what is handed in.
Finding findingOfClock(std::chrono::seconds ahead);
Finding findingOfPorts(const LocalPorts& ports);
// The inspection has a chain. strict: whether an expired certificate ends an exchange.
Finding findingOfValidity(const Inspection& inspection, Certificate::Time now, bool strict);

}  // namespace kestrelvisor::ctl
