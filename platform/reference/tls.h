#pragma once

namespace kestrelvisor {

// Lets the TLS of handles that SecuritySS::enrichSSL prepares from now on begin anew: the system's
// trust store is read again, and no session and no resolved name of before is used. For a host that
// runs long, when it learns that the store on disk has changed.
//
// May be called from any thread. What a handle was prepared with before it keeps.
void renewTrust();

}  // namespace kestrelvisor
