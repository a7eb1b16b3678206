#pragma once

#include <string>
#include <string_view>

namespace kestrelvisor::test {

// withoutSecrets as it reads without its shortcuts: no table of characters, no name remembered, the
// whole text copied. What the fast form has to give, byte for byte.
std::string plainlyWithoutSecrets(std::string_view text);

}  // namespace kestrelvisor::test
