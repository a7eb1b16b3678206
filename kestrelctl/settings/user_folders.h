#pragma once

#include <string>

// Where a user's own files are, by the XDG base directories. A variable that names no absolute path
// does not count.

namespace kestrelvisor::ctl {

// The path of a file in $XDG_CONFIG_HOME/kestrelctl, or else ~/.config/kestrelctl; an empty text
// when neither XDG_CONFIG_HOME nor HOME is set.
std::string configurationPath(const std::string& file);

// Likewise for what may be lost: $XDG_CACHE_HOME/kestrelctl, or else ~/.cache/kestrelctl.
std::string cachePath(const std::string& file);

// Makes the folders on the way to a file, for their owner alone. Throws a Failure of wrong usage.
void makeFoldersOf(const std::string& path);

}  // namespace kestrelvisor::ctl
