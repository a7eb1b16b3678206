#pragma once

#include "kestrelctl/watch/progress_estimate.h"
#include "kestrelctl/watch/progress_mode.h"
#include "kestrelctl/watch/scan_counts.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace kestrelvisor::ctl {

// Shows how far a scan is. It ends with finish, or with itself at the latest; a line that it has
// drawn is gone then.
class ProgressDisplay {
 public:
  enum class Manner {
    nothing,
    line,     // one line of a terminal, drawn over and over
    objects,  // a JSON object on each line, with a last one at the end
  };

  // Where it draws, and how wide that is at the moment.
  struct Surface {
    std::function<void(const std::string& bytes)> write;
    std::function<std::size_t()> columns;
  };

  ProgressDisplay(Manner manner, Surface surface,
                  ProgressClock clock = &std::chrono::steady_clock::now);
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  // Draws some times a second at the most, however often it is called.
  void update(const ScanCounts& counts);
  void finish();

 private:
  void drawWhenDue();
  void draw(std::chrono::steady_clock::time_point now);

  Manner manner_;
  Surface surface_;
  ProgressClock clock_;
  ProgressEstimate estimate_;
  ScanCounts counts_;
  std::optional<std::chrono::steady_clock::time_point> drawn_;
};

// How a mode is shown on standard error. A line would run into the log, where that goes to the same
// terminal.
ProgressDisplay::Manner mannerOnTalk(ProgressMode mode, bool logGoesToTalk);

ProgressDisplay::Surface surfaceOfTalk();

}  // namespace kestrelvisor::ctl
