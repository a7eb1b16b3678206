#pragma once

namespace kestrelvisor::ctl {

// Prepares libcurl and OpenSSL, before anything uses them: what they free is wiped, and what the
// environment says to them is forgotten, unless it is to be obeyed.
void prepareLibraries(bool useEnvironment);

}  // namespace kestrelvisor::ctl
