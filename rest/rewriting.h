#pragma once

#include <string_view>

namespace kestrelvisor {

// Tells whether each value of a JSON text is still the same when it is written out as text and
// parsed again, so that it may be read where it stands.
//
// Writing repairs texts: what is no UTF-8 comes back as U+FFFD, and so does half of a surrogate
// pair. A text that holds either, or any escape of a surrogate, is refused. So is every text while
// the process reads or writes fractions in a locale that makes other numbers of them.
bool survivesRewriting(std::string_view json);

}  // namespace kestrelvisor
