#pragma once

#include <cstdint>

// Which product a machine's group belongs to, by the prefix of the group's name.
enum virtualGroupType : std::int32_t {
  VIRTUAL_GROUP_GENERAL = 0,     // "KC_", no group, or any other prefix
  VIRTUAL_GROUP_OPEN_STACK = 1,  // "KSP"
  VIRTUAL_GROUP_KM = 2,          // "KM_"
  VIRTUAL_GROUP_VDI = 3,         // "VDI"
};
