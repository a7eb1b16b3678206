#include "rest/first.h"
