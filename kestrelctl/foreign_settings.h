#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::ctl {

// Takes out of this process's environment what libcurl and OpenSSL would obey: over whom a request
// goes, which certificates are trusted, what the TLS library loads, and where session keys are
// written. A shell, a container or a scheduler may have set these for other programs. To be called
// before the first use of either library.
void forgetForeignSettings();

// The variables that name a proxy for requests and are set.
std::vector<std::string> proxiesThatAreSet();

// Whether the variable of this name is one of them.
bool isForeignSetting(std::string_view name);

}  // namespace kestrelvisor::ctl
