#pragma once

namespace kestrelvisor {

// Makes libcurl and OpenSSL overwrite every block of memory before they give it back or move it, so
// that the requests, answers and TLS records that pass through them leave no digest or token
// behind. Initialises libcurl. The engine wipes its own memory in any case.
//
// Call it before anything else of either library is used in this process, kestrelvisor_engine_init
// included, while there is one thread. Returns whether both libraries have taken it; false means
// that one of them was in use before, and that what it held may stay in freed memory. Further calls
// change nothing and return the same.
bool useWipingAllocators();

}  // namespace kestrelvisor
