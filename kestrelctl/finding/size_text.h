#pragma once

#include <optional>
#include <string_view>

namespace kestrelvisor::ctl {

// Bytes of a size that a person wrote: a number, decimals allowed, and its unit. KiB, MiB, GiB,
// TiB, PiB and their first letters alone count in steps of 1024; kB, MB, GB, TB and PB in steps of
// 1000; B is a byte. Capital and small letters are the same, a blank may stand between. Nothing for
// a text that is no size, one without a unit included.
std::optional<long double> bytesOfSizeText(std::string_view text);

}  // namespace kestrelvisor::ctl
