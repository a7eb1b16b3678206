#include "base/wipe_string.h"
#include "platform/contract/security.h"

SecString::~SecString() { wipeString(value_); }

// The new value is complete before the old one goes: text may be a part of it.
void SecString::assign(std::string_view text) {
  std::string fresh(text);
  value_.swap(fresh);
  wipeString(fresh);
}
