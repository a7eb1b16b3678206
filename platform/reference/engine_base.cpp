#include "platform/contract/engine_base.h"

// Out of line, so that the vtable and the type's identity live in this library alone.
EngineBase::~EngineBase() = default;
