int keptFunction(int number) { return number; }

#ifndef INTERFACE_less
int earlierFunction(int number) { return number; }
#endif

#ifdef INTERFACE_more
int laterFunction(int number) { return number; }
#endif
