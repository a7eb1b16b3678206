#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a scan's watch reads out of the manager's answers, as the log tells them. The texts may be
// anything: what cannot be read is left out, and nothing throws but std::bad_alloc.

namespace kestrelvisor::ctl {

// Stands for a URN, so that a site of any size takes little memory.
using UrnHash = std::uint64_t;

UrnHash hashOfUrn(std::string_view urn);
// Of the URN that belongs to a URI, as the engine makes the one from the other.
UrnHash hashOfUri(std::string_view uri);

// The answer that a record of the engine's log tells; nothing when it tells none.
std::optional<std::string_view> answerIn(std::string_view recordText);

// A machine in a page, as far as the accounts and the progress need it.
struct ToldMachine {
  UrnHash urn = 0;
  std::optional<UrnHash> place;  // nothing: the manager does not tell it
  bool isTemplate = false;
  bool isLinkedClone = false;
  std::uint32_t lookups = 0;  // requests that its disks take
  std::string system;         // guest system: its type and number, or its name
};

// The machines of a page. One that has neither URN nor URI is left out. Nothing when the answer is
// no page.
std::optional<std::vector<ToldMachine>> machinesIn(std::string_view answer);

// The places in a list of clusters or hosts, by key, in its order.
std::vector<UrnHash> placesIn(std::string_view answer, const char* key);

// Whether one of the sites in an answer is the manager's own. Nothing when it holds no sites.
std::optional<bool> tellsOwnSite(std::string_view answer);

}  // namespace kestrelvisor::ctl
