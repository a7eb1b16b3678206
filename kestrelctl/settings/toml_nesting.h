#pragma once

#include <cstddef>
#include <string_view>

namespace kestrelvisor::ctl {

// How many tables and lists stand in each other at most in a TOML text, by brackets, braces and the
// dots of keys; dots of numbers may count too. Texts and comments do not. Of a text that is no
// TOML, how deep it goes at most before that is seen.
std::size_t deepestNesting(std::string_view toml);

}  // namespace kestrelvisor::ctl
