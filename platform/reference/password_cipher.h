#pragma once

#include <string>
#include <string_view>

namespace kestrelvisor {

// Encrypted passwords, as SecuritySS::KmcDecryptInfo reads them: AES-256-GCM under a key of 32
// bytes. The text is "kv1:" and the base64 of nonce (12 bytes), encrypted characters and tag (16
// bytes); any changed character makes it unreadable. Two texts of one password differ.
//
// The key is, first found: the one set here; the text of the environment variable
// KESTRELVISOR_PASSWORD_KEY; the content of the file that KESTRELVISOR_PASSWORD_KEY_FILE names. A
// source that is there but unusable is an error, not a reason to look further. The file must be a
// regular file, belong to this user or to root, and be closed to group and others. A key text is 64
// hexadecimal digits or the base64 of 32 bytes; blanks and line ends around it do not count in a
// file.
//
// Each function that can fail returns false and tells why in problem, never with a part of a
// secret.

// Encrypts a password, which may be empty, into cipher.
bool encryptPassword(std::string_view plain, std::string& cipher, std::string& problem);

// Makes a fresh random key as 64 hexadecimal digits. The caller keeps it secret and wipes it.
bool generateKey(std::string& text, std::string& problem);

// Sets the key for this process. It stays in memory until it is replaced or forgotten.
bool setPasswordKey(std::string_view text, std::string& problem);

// Wipes the key that setPasswordKey has set.
void forgetPasswordKey();

// Tells whether a usable key can be found now.
bool hasPasswordKey(std::string& problem);

}  // namespace kestrelvisor
