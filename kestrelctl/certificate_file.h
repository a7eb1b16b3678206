#pragma once

#include <string>

namespace kestrelvisor::ctl {

// Reads a file of certificates in PEM. Throws a Failure unless it holds at least one, and all that
// it holds can be read.
std::string readCertificateFile(const std::string& path);

}  // namespace kestrelvisor::ctl
