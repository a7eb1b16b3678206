#include "tests/support/test_headers.h"
