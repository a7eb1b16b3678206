#pragma once

#include "kestrelctl/certificates/inspection.h"
#include "kestrelctl/console.h"
#include "kestrelctl/output_format.h"
#include "kestrelctl/warning.h"

#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// What a manager shows of itself, beside what is kept of it.
struct ShownCertificate {
  ManagerAddress manager;
  Inspection inspection;  // with a chain; that of a document has its handshake, too
  std::string keptPin;    // empty: none is kept
  Certificate::Time now;
  std::vector<Warning> warnings;
};

// Lines for people.
std::string certificateText(const ShownCertificate& shown, const Rendering& rendering);

// A document for programs; form is json, jsonl or yaml.
std::string certificateDocument(const ShownCertificate& shown, OutputFormat form);

// Whole days from now on, rounded down; below 0 for a time that has passed.
long long daysUntil(Certificate::Time time, Certificate::Time now);

}  // namespace kestrelvisor::ctl
