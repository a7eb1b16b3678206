#include "rest/session_types.h"
