#pragma once

#include <string_view>

namespace kestrelvisor::ctl {

// Takes out of this process's environment what libcurl and OpenSSL would obey: over whom a request
// goes, which certificates are trusted, what the TLS library loads, and where session keys are
// written. A shell, a container or a scheduler may have set these for other programs. To be called
// before the first use of either library.
void forgetForeignSettings();

// Whether the variable of this name is one of them.
bool isForeignSetting(std::string_view name);

}  // namespace kestrelvisor::ctl
