#include "kestrelctl/watch/machine_ledger.h"

#include <algorithm>
#include <unordered_set>

namespace kestrelvisor::ctl {
namespace {

constexpr std::uint32_t kTemplate = 1;
constexpr std::uint32_t kLinkedClone = 2;
constexpr std::uint32_t kWithoutPlace = 4;
constexpr std::uint32_t kBadUuid = 8;
constexpr std::uint32_t kBadData = 16;
constexpr std::uint32_t kInPlace = 32;
constexpr std::uint32_t kToldByPages = kTemplate | kLinkedClone | kWithoutPlace;

constexpr std::size_t kMostSystems = 1000;

constexpr std::int32_t kHostType = 5;
constexpr std::int32_t kClusterType = 6;
constexpr const char* kUnknownGuest = "unknown";

using UrnSet = std::unordered_set<UrnHash>;

// The places whose machines a scan asks for. A site without hosts and clusters is one itself.
UrnSet placesOf(const ScanEnvironmentReply& reply) {
  UrnSet places;
  for (const non_vm_record& place : reply.non_vm_records()) {
    const bool holdsMachines =
        place.object_type() == kHostType || place.object_type() == kClusterType;
    if (holdsMachines || reply.non_vm_records_size() == 1) {
      places.insert(hashOfUri(place.mo_reference()));
    }
  }
  return places;
}

UrnSet recordedMachines(const ScanEnvironmentReply& reply) {
  UrnSet machines;
  for (const machine_record& machine : reply.machine_records()) {
    machines.insert(hashOfUri(machine.mo()));
  }
  return machines;
}

}  // namespace

MachineLedger::Machine* MachineLedger::find(UrnHash urn) {
  const auto found = machines_.find(urn);
  return found == machines_.end() ? nullptr : &found->second;
}

bool MachineLedger::tell(const ToldMachine& told) {
  const bool isNew = find(told.urn) == nullptr;
  if (isNew && machines_.size() >= kMostMachines) return false;
  Machine& machine = machines_[told.urn];
  machine.place = told.place.value_or(0);
  machine.system = numberOf(told.system);
  machine.traits &= ~kToldByPages;
  if (told.isTemplate) machine.traits |= kTemplate;
  if (told.isLinkedClone) machine.traits |= kLinkedClone;
  if (!told.place) machine.traits |= kWithoutPlace;
  return isNew;
}

bool MachineLedger::tellInPlace(const ToldMachine& told) {
  tell(told);
  Machine* const machine = find(told.urn);
  if (machine == nullptr || (machine->traits & kInPlace) != 0) return false;
  machine->traits |= kInPlace;
  return true;
}

void MachineLedger::refuseUuid(std::string_view urn) {
  if (Machine* const machine = find(hashOfUrn(urn))) machine->traits |= kBadUuid;
}

void MachineLedger::refuseData(std::string_view uri) {
  if (Machine* const machine = find(hashOfUri(uri))) machine->traits |= kBadData;
}

std::uint16_t MachineLedger::numberOf(const std::string& system) {
  if (system.empty()) return 0;
  const auto known = systemNumbers_.find(system);
  if (known != systemNumbers_.end()) return known->second;
  if (systems_.size() >= kMostSystems) return 0;
  const auto number = static_cast<std::uint16_t>(systems_.size());
  systems_.push_back(system);
  systemNumbers_.emplace(system, number);
  return number;
}

Accounting MachineLedger::account(const ScanEnvironmentReply& reply, std::uint64_t counted) const {
  const UrnSet places = placesOf(reply);
  UrnSet unmet = recordedMachines(reply);
  Accounting accounting;
  accounting.counted = counted;
  accounting.recorded = unmet.size();
  std::uint64_t vanished = 0;
  for (const auto& [urn, machine] : machines_) {
    const auto has = [&machine = machine](std::uint32_t trait) {
      return (machine.traits & trait) != 0;
    };
    if (unmet.erase(urn) > 0) continue;
    if (has(kTemplate)) {
      ++accounting.templates;
    } else if (has(kLinkedClone)) {
      ++accounting.linkedClones;
    } else if (!has(kWithoutPlace) && places.count(machine.place) == 0) {
      ++accounting.outOfScope;
    } else if (has(kBadUuid)) {
      ++accounting.unreadableUuid;
    } else if (has(kBadData) || has(kWithoutPlace)) {
      ++accounting.unreadData;
    } else {
      ++vanished;
    }
  }
  // A record that no page told under this name may be one of those.
  accounting.vanished = vanished - std::min<std::uint64_t>(vanished, unmet.size());
  return accounting;
}

std::vector<MachineLedger::UnknownSystem> MachineLedger::unknownSystems(
    const ScanEnvironmentReply& reply) const {
  std::vector<UnknownSystem> unknown(systems_.size());
  for (std::size_t i = 0; i < systems_.size(); ++i) unknown[i].text = systems_[i];
  for (const machine_record& record : reply.machine_records()) {
    if (record.guestos() != kUnknownGuest) continue;
    const auto machine = machines_.find(hashOfUri(record.mo()));
    ++unknown[machine == machines_.end() ? 0 : machine->second.system].machines;
  }
  std::erase_if(unknown, [](const UnknownSystem& system) { return system.machines == 0; });
  std::stable_sort(unknown.begin(), unknown.end(), [](const auto& one, const auto& other) {
    return one.machines > other.machines;
  });
  return unknown;
}

}  // namespace kestrelvisor::ctl
