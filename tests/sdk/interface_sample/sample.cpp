#include "tests/sdk/interface_sample/sample.h"

int keptFunction(const Sample& sample) { return sample.number; }

#ifndef SAMPLE_less
int earlierFunction(int number) { return number; }
#endif

#ifdef SAMPLE_more
int laterFunction(int number) { return number; }
#endif
