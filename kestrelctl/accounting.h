#pragma once

#include <cstdint>

namespace kestrelvisor::ctl {

// Where each machine of a manager's site went in one scan. A machine counts once, however often the
// manager names it, and for the first of the reasons that apply.
struct Accounting {
  std::uint64_t counted = 0;         // what the manager's count told
  std::uint64_t recorded = 0;        // machines of the reply
  std::uint64_t templates = 0;       // no machine to protect
  std::uint64_t linkedClones = 0;    // likewise
  std::uint64_t outOfScope = 0;      // on a host or cluster that is not part of the reply
  std::uint64_t unreadableUuid = 0;  // no GUID can be made of it
  std::uint64_t unreadData = 0;      // the manager did not tell its data

  // Machines that the manager told of and that were in their place no more when it was their turn.
  // They are a part of what is unexplained, where machines that came meanwhile can hide them.
  std::uint64_t vanished = 0;

  // Machines that came or went while the scan ran, or that nothing is known of. Negative: more were
  // met than counted.
  std::int64_t unexplained() const {
    return static_cast<std::int64_t>(counted) -
           static_cast<std::int64_t>(recorded + templates + linkedClones + outOfScope +
                                     unreadableUuid + unreadData);
  }

  // Whether a machine is missing that a backup may need. Templates and linked clones are none.
  bool isIncomplete() const {
    return outOfScope + unreadableUuid + unreadData + vanished > 0 || unexplained() > 0;
  }
};

}  // namespace kestrelvisor::ctl
