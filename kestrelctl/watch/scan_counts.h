#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace kestrelvisor::ctl {

// What a scan is busy with, in the order in which it comes. With several clusters, hosts and
// listing take turns.
enum class ScanPhase : std::uint8_t {
  preparing,  // versions, login, sites, guest systems
  hosts,      // clusters and hosts, each with its datastores
  listing,    // the machines of a whole cluster, wherever in it they are
  machines,   // the machines of one place, and their disks
  reply,      // nothing is asked any more
};

constexpr const char* phaseForPeople(ScanPhase phase) {
  switch (phase) {
    case ScanPhase::preparing:
      return "Asking the manager about itself";
    case ScanPhase::hosts:
      return "Reading hosts and datastores";
    case ScanPhase::listing:
      return "Listing machines";
    case ScanPhase::machines:
      return "Reading machines and disks";
    case ScanPhase::reply:
      return "Putting the result together";
  }
  return "";
}

constexpr const char* phaseForPrograms(ScanPhase phase) {
  switch (phase) {
    case ScanPhase::preparing:
      return "preparing";
    case ScanPhase::hosts:
      return "hosts";
    case ScanPhase::listing:
      return "listing";
    case ScanPhase::machines:
      return "machines";
    case ScanPhase::reply:
      return "reply";
  }
  return "";
}

// How far a scan has come. Plain numbers: they can be handed to another process byte by byte.
struct ScanCounts {
  ScanPhase phase = ScanPhase::preparing;
  std::uint64_t objects = 0;                     // of the phase, so far
  std::optional<std::uint64_t> objectsExpected;  // of the phase
  std::uint64_t exchanges = 0;                   // with the manager, so far
  std::uint64_t listings = 0;  // machines in the pages so far, each time that one is told

  // Of the whole scan; nothing as long as they cannot be told.
  std::optional<std::uint64_t> exchangesExpected;
  std::optional<std::uint64_t> listingsExpected;
};

// Takes the counts of a running scan, some times a second.
using ProgressSink = std::function<void(const ScanCounts&)>;

}  // namespace kestrelvisor::ctl
