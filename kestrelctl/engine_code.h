#pragma once

// Codes that the engine makes itself where a step fails; all others come from the manager.

namespace kestrelvisor::ctl {

inline constexpr const char* kNoCode = "00000000";  // no step told one
inline constexpr const char* kRoleRefused = "1006";
inline constexpr const char* kCouldNotConnect = "2000";
inline constexpr const char* kTimedOut = "2001";
inline constexpr const char* kOtherTransferFailure = "2002";  // the text says which
inline constexpr const char* kNotFound = "2404";

}  // namespace kestrelvisor::ctl
