#include "base/wipe_string.h"
#include "platform/contract/security.h"

#include <string_view>

SecString::~SecString() { wipeString(value_); }

// The new value is complete before the old one goes: text may be a part of it. The old one goes
// before the swap, which moves no more characters of a short text than it needs to.
void SecString::assign(std::string_view text) {
  std::string fresh(text);
  wipeString(value_);
  value_.swap(fresh);
  wipeString(fresh);
}
