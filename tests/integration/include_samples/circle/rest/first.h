#include "rest/second.h"
