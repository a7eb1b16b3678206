#pragma once

#include "kestrelctl/descriptor.h"

#include <string>

namespace kestrelvisor::ctl {

// Keeps the other runs of this program from changing settings, from reading a file to writing it
// anew. The lock is the folder's, so that no file of its own stays; where folders cannot be locked,
// as on some network drives, nobody waits.
class SettingsLock {
 public:
  // Makes the folder of the file if need be, and waits until nobody else changes anything in it.
  // Throws a Failure of wrong usage.
  explicit SettingsLock(const std::string& path);

 private:
  Descriptor folder_;
};

}  // namespace kestrelvisor::ctl
