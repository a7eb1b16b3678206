#pragma once

#include <string>

// The host's configuration.
class ConfigReader {
 public:
  // Reads the integer of a key. The engine asks for "General"/"CertAuthSwitch" alone: 0 lets it
  // repeat an exchange without verification after a certificate was refused, any other value keeps
  // verification strict.
  //
  // The meaning of the last argument is the host's; the engine passes true.
  static int getInt(const std::string& section, const std::string& key, bool required);
};
