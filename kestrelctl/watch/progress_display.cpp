#include "kestrelctl/watch/progress_display.h"

#include "kestrelctl/console.h"
#include "kestrelctl/watch/progress_text.h"

#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr std::chrono::milliseconds kRedrawDistance{200};
constexpr std::chrono::milliseconds kObjectDistance{500};
constexpr const char* kClearLine = "\r\x1b[K";

}  // namespace

ProgressDisplay::ProgressDisplay(Manner manner, Surface surface, ProgressClock clock)
    : manner_(manner), surface_(std::move(surface)), clock_(clock), estimate_(std::move(clock)) {}

ProgressDisplay::~ProgressDisplay() { finish(); }

void ProgressDisplay::update(const ScanCounts& counts) {
  if (manner_ == Manner::nothing) return;
  counts_ = counts;
  estimate_.take(counts);
  drawWhenDue();
}

void ProgressDisplay::drawWhenDue() {
  const auto now = clock_();
  const auto distance = manner_ == Manner::line ? kRedrawDistance : kObjectDistance;
  if (!drawn_ || now - *drawn_ >= distance) draw(now);
}

void ProgressDisplay::draw(std::chrono::steady_clock::time_point now) {
  drawn_ = now;
  if (manner_ == Manner::objects) {
    return surface_.write(progressObject(counts_, estimate_) + "\n");
  }
  // The last column stays free: some terminals go to the next line behind it.
  const std::size_t columns = surface_.columns();
  const std::size_t width = columns > 0 ? columns - 1 : 0;
  surface_.write(kClearLine + progressLine(counts_, estimate_, width));
}

void ProgressDisplay::finish() {
  if (manner_ == Manner::objects) draw(clock_());
  if (manner_ == Manner::line && drawn_) surface_.write(kClearLine);
  manner_ = Manner::nothing;
}

ProgressDisplay::Manner mannerOnTalk(ProgressMode mode, bool logGoesToTalk) {
  if (mode == ProgressMode::jsonl) return ProgressDisplay::Manner::objects;
  const bool draws = mode == ProgressMode::automatic && talkCanBeDrawnOver() && !logGoesToTalk;
  return draws ? ProgressDisplay::Manner::line : ProgressDisplay::Manner::nothing;
}

ProgressDisplay::Surface surfaceOfTalk() { return {drawOnTalk, columnsOfTalk}; }

}  // namespace kestrelvisor::ctl
