#pragma once

#include <string>

namespace kestrelvisor::ctl {

// Asks on the process's terminal for a line that is not shown while it is typed.
//
// Returns false when there is no terminal; answer is then empty. When a signal comes meanwhile, the
// terminal shows typed text again; one that ends the process is thrown as Interrupted, after a stop
// the question is asked anew. Throws a Failure when no line comes.
bool askWithoutEcho(const std::string& question, std::string& answer);

// Likewise for an answer that is no secret and shown while it is typed. One that does not come is
// empty.
bool askWithEcho(const std::string& question, std::string& answer);

}  // namespace kestrelvisor::ctl
