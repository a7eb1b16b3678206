#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// One row of vrmAviaryStateTable.
struct VrmAviaryState {
  std::int32_t number;   // what an operation returns
  std::string codeText;  // the manager's code, an HTTP status, or "connectfailed"
};

// Rows of vrmAviaryStateTable.
inline constexpr std::size_t kVrmAviaryStateCount = 22;

// Numbers of the code texts that a REST failure can leave. Read-only, built when the library loads.
extern const VrmAviaryState vrmAviaryStateTable[kVrmAviaryStateCount];

namespace kestrelvisor {

// Numbers of code texts that the engine acts on.
inline constexpr std::int32_t kStateSuccess = 0;                    // 200 and 10100110
inline constexpr std::int32_t kStateWrongCredentials = 1138754051;  // refused user or password
inline constexpr std::int32_t kStateUnreachable = 1138754054;       // no answer of a manager
inline constexpr std::int32_t kStateNoCertificate = 1080000001;     // 2406
inline constexpr std::int32_t kStateDefault = 1077949019;  // every code text outside the table

// Statuses of an operation's result.
inline constexpr std::int32_t kStatusSuccess = 0;                    // every operation
inline constexpr std::int32_t kStatusParameterOrDataMissing = 1;     // disable CBT
inline constexpr std::int32_t kStatusObjectMissing = 95;             // disable CBT
inline constexpr std::int32_t kStatusDatabaseFailure = 96;           // disable CBT
inline constexpr std::int32_t kStatusUnknownError = 97;              // disable CBT
inline constexpr std::int32_t kStatusDatastoreNotSupported = 98;     // disable CBT
inline constexpr std::int32_t kStatusDisableFailed = 99;             // disable CBT
inline constexpr std::int32_t kStatusTemplateNotSupported = 100;     // disable CBT
inline constexpr std::int32_t kStatusLinkedCloneNotSupported = 101;  // disable CBT
inline constexpr std::int32_t kStatusScanFailed = 104;               // scan
inline constexpr std::int32_t kStatusNotVerified = 107;              // verify

// Numbers of a result's details.
inline constexpr unsigned long kDetailScanned = 20063;      // machine count, non-VM count, ""
inline constexpr unsigned long kDetailNotVerified = 20086;  // failure text, "", ""
inline constexpr unsigned long kDetailScanFailed = 20111;   // failure text, "", ""

}  // namespace kestrelvisor
