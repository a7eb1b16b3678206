#include "platform/contract/request_id.h"

namespace {

// A plain number: a thread-local object with a destructor would be gone before the logouts at
// process exit, which still log.
thread_local std::uint64_t requestId = 0;

}  // namespace

std::uint64_t* KCPTSP::get(KCPTSPSlot) { return &requestId; }
