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
  // Throws Interrupted and TimeUsedUp.
  Finding (*look)(Examination& examination);
};

// What a check finds. One for which no time is left fails, and is skipped where another has failed.
// Throws Interrupted.
Finding findingOf(const Check& check, Examination& examination, bool hasFailed);

// All of them, each after those that it builds on.
const std::vector<Check>& checks();

// Whole parts of checks that depend on nothing but what is handed in.
Finding findingOfClock(std::chrono::seconds ahead);
Finding findingOfPorts(const LocalPorts& ports);
// The inspection has a path. strict: whether an expired certificate ends an exchange.
Finding findingOfValidity(const Inspection& inspection, Certificate::Time now, bool strict);

}  // namespace kestrelvisor::ctl
