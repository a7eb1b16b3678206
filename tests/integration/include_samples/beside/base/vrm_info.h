#include "base/log.h"
