#pragma once

#include "kestrelctl/reply_index.h"

#include <string>
#include <string_view>
#include <vector>

// The names in the reply that was kept last, so that shells can complete them: a sorted text that
// is searched where it lies, however long it is.

namespace kestrelvisor::ctl {

// What can be asked for: "machine", "host", "cluster", "datastore" for names, "uri" for the URIs of
// machines.
const std::vector<std::string>& nameKinds();

// The index of a reply, as keepNames writes it. What a terminal cannot show as it is cannot be
// typed and is left out.
std::string nameIndexOf(const ReplyIndex& index);

// Keeps the index of a reply in place of the one of before. Without it nothing but comfort is
// missing: what goes wrong is not told.
void keepNames(const ReplyIndex& index) noexcept;

// The first names of a kind that begin with a text, in order and at most that many. None when there
// is no index or it cannot be read.
std::vector<std::string> namesBeginningWith(const std::string& kind, const std::string& start,
                                            std::size_t most);

// The same of an index in memory.
std::vector<std::string> namesIn(std::string_view index, const std::string& kind,
                                 const std::string& start, std::size_t most);

}  // namespace kestrelvisor::ctl
