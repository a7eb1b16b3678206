#pragma once

#include <cstddef>
#include <string>

struct stat;

namespace kestrelvisor {

// Judges an open file before it is read: returns what is wrong with it, or an empty text.
using FileCheck = std::string (*)(const struct ::stat& status);

// Reads a regular file of at most limit bytes into content.
//
// check, when given, sees the status of the very file that is read, so nobody can swap it in
// between. Returns false and tells in problem why the file is not usable; content is then empty.
// Needs no static object and may be called at process exit.
bool readSmallFile(const std::string& path, std::size_t limit, FileCheck check,
                   std::string& content, std::string& problem);

}  // namespace kestrelvisor
