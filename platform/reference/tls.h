#pragma once

#include <string_view>

namespace kestrelvisor {

// Lets the handles that SecuritySS::enrichSSL prepares from now on accept a manager only if its
// certificate has this public key, besides all that is demanded of the certificate otherwise. Not
// even a host that overlooks a refused certificate overlooks another key.
//
// pin is "sha256//" and the base64 form of the SHA-256 of the key (its SubjectPublicKeyInfo in
// DER), 52 characters; an empty text lets any key pass, which is the default. Returns false, and
// changes nothing, for any other text. May be called from any thread.
bool keepToPublicKey(std::string_view pin);

// Lets the TLS of handles that SecuritySS::enrichSSL prepares from now on begin anew: the system's
// trust store is read again, and no session and no resolved name of before is used. For a host that
// runs long, when it learns that the store on disk has changed.
//
// May be called from any thread. What a handle was prepared with before it keeps.
void renewTrust();

}  // namespace kestrelvisor
