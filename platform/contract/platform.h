#pragma once

// All that the engine expects of its host.

#include "environment.pb.h"
#include "platform/contract/bounded_memory.h"
#include "platform/contract/config_reader.h"
#include "platform/contract/engine_base.h"
#include "platform/contract/env_proxy_result.h"
#include "platform/contract/helpers.h"
#include "platform/contract/log.h"
#include "platform/contract/request_id.h"
#include "platform/contract/security.h"
