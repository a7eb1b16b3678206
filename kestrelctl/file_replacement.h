#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// Throws a Failure when a later replaceFile with this path cannot work: what stands there is not a
// regular file, or its folder is missing. For the time before the work that fills the file.
void checkReplaceable(const std::string& option, const std::string& path);

// Likewise for createFile: nothing may stand there yet.
void checkCreatable(const std::string& option, const std::string& path);

// Throws a Failure when two of the options name one file, which the later one would take from the
// other. Those without a path name none.
struct NamedFile {
  const char* option;
  const std::string& path;
};
void checkDistinct(std::initializer_list<NamedFile> files);

// Gives a file a new content in one step: readers see the old one or the new one. The file is for
// its owner alone (0600). Throws a Failure; the old content then stays. A signal that ends the
// process waits until nothing is left to tidy up.
void replaceFile(const std::string& path, std::string_view content);

// Creates a file that must not exist yet, for its owner alone. Throws a Failure.
void createFile(const std::string& path, std::string_view content);

}  // namespace kestrelvisor::ctl
