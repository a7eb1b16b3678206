#pragma once

#include <string>
#include <string_view>

namespace kestrelvisor {

// The text without tokens, passwords, keys and session ids, whatever is logged.
std::string withoutSecrets(std::string_view text);

// The same without a copy when there is nothing to remove: returns text itself, or else what room
// holds then.
std::string_view withoutSecrets(std::string_view text, std::string& room);

}  // namespace kestrelvisor
