#pragma once

#include "kestrelctl/output_format.h"

#include <string>

namespace kestrelvisor::ctl {

// Versions of kestrelctl, of the libraries that it runs with and of what built it: lines for
// people, or a document for programs.
std::string versionText(const std::string& ownVersion);
std::string versionDocument(const std::string& ownVersion, OutputFormat form);

}  // namespace kestrelvisor::ctl
