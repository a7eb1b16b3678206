#pragma once

#include <string>

namespace kestrelvisor {

// Where ConfigReader finds its values. A value set by the host wins over the file; a missing value,
// an unusable file and a value that is no integer stand for the key's default: 1 (strict) for
// "General"/"CertAuthSwitch", 0 for every other key.
//
// The file is an INI file of at most 1 MiB, read anew at each request:
//
//   [General]
//   CertAuthSwitch = 1   ; 0 allows exchanges with a manager whose certificate is refused
//
// Sections and keys are compared without regard to ASCII case. Blanks around sections, keys and
// values do not count. A line that starts with ";" or "#" is a comment, and so is the rest of a
// line from a blank followed by one of them. Lines end with LF or CR LF. Keys before the first
// section belong to the section "". Of several lines with the same key the last wins. Lines without
// "=" are skipped.

// Names the file. An empty path, the default, means the one that the environment variable
// KESTRELVISOR_CONFIG names, if any.
void setConfigurationFile(const std::string& path);

// Sets one value, as text.
void setConfigurationValue(const std::string& section, const std::string& key,
                           const std::string& value);

// Forgets what the two functions above have set.
void resetConfiguration();

}  // namespace kestrelvisor
