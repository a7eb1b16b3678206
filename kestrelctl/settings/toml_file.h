#pragma once

#include <toml.hpp>

#include <map>
#include <string>
#include <vector>

namespace kestrelvisor::ctl {

// A document that people edit: comments stay with what they are about, and keys in their order.
using TomlValue = toml::basic_value<toml::preserve_comments, std::map, std::vector>;
using TomlTable = TomlValue::table_type;

// Reads a TOML file of the user's own; one that is not there is an empty table. It steers where
// passwords go, so that only the user or root may own it and its folder, and nobody else may write
// to either. Throws a Failure of wrong usage.
TomlValue readTomlFile(const std::string& path);

// Gives the file a new content, for its owner alone, and makes its folder if need be. A link to it
// stays a link. Throws a Failure.
void writeTomlFile(const std::string& path, const TomlValue& document);

// The table under a key; null when there is none. Throws a Failure when something else stands
// there.
const TomlTable* tableIn(const TomlValue& document, const std::string& key,
                         const std::string& path);
// Likewise, and makes it.
TomlTable& tableIn(TomlValue& document, const std::string& key, const std::string& path);

}  // namespace kestrelvisor::ctl
