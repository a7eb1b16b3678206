#include <ctime>

std::time_t startOfSession() { return std::time(nullptr); }
