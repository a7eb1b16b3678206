#pragma once

#include "base/constants.h"

#include <cstdint>
#include <string>
#include <vector>

// What went wrong while changed blocks were read. Only the numbers are fixed, 0 to 17.
enum CBTGetErrorCode : std::int32_t {
  CBT_GET_OK = 0,
  CBT_GET_VM_HANDLE_FAILED = 1,
  CBT_SNAPSHOT_ID_IS_NULL = 2,
  CBT_GET_QSTORE_IP_FAILED = 3,
  CBT_CREATE_AND_OPEN_BITMAP_VOLUME_FAILED = 4,
  CBT_GET_DIRTY_RANGES_FAILED = 5,
  CBT_CLOSE_AND_DELETE_BITMAP_VOLUME_FAILED = 6,
  CBT_EXCEEDS_DISK_SIZE = 7,
  CBT_PREVIOUS_CHANGE_ID_IS_NULL = 8,
  CBT_SNAPSHOT_IS_INVALID = 9,
  CBT_GET_SNAPSHOT_VM_HANDLE_FAILED = 10,
  CBT_GET_VM_HANDLE_TO_DELETE_SNAPSHOT_FAILED = 11,
  CBT_GET_VM_HANDLE_FOR_DIRTY_RANGES_FAILED = 12,
  CBT_GET_VM_HANDLE_IN_ENGINE_FAILED = 13,
  CBT_QSTORE_AGENT_NOT_INSTALLED = 14,
  CBT_JAVA_FILE_MISSING = 15,
  CBT_JAVA_FILE_NOT_PERMITTED = 16,
  CBT_VBS_TOOL_CONFIGURED_WRONGLY = 17,
};

// Carries a failure through the library: a code text and a description.
//
// The REST layer fills it where a failure is first understood; the operations turn the code into a
// number or a status for the host.
class KestrelVisorErrorMessage {
 public:
  KestrelVisorErrorMessage();
  KestrelVisorErrorMessage(const KestrelVisorErrorMessage&);
  KestrelVisorErrorMessage& operator=(const KestrelVisorErrorMessage&);
  virtual ~KestrelVisorErrorMessage();

  // Takes a code text; an empty one changes nothing. A cbt from 1 to 17 then replaces the code by
  // its number (from 14 on plus 986), ", " and its text; any other cbt changes nothing.
  void setErrorCode(const std::string& code, CBTGetErrorCode cbt);

  // Takes a description; an empty one changes nothing.
  void setErrorDescription(const std::string& text);

  // Puts code and description back to their defaults.
  void reset();

  std::string errorCode{kestrelvisor::kDefaultErrorCode};
  std::string errorDescription{kestrelvisor::kDefaultErrorDescription};
  std::vector<std::string> errorParams;  // always empty in this engine
};
