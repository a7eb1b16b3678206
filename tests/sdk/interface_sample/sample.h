#pragma once

struct Sample {
#ifdef SAMPLE_wider
  int earlier;
#endif
  int number;
};

int keptFunction(const Sample& sample);
int earlierFunction(int number);
int laterFunction(int number);
