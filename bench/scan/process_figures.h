#pragma once

#include <cstddef>
#include <functional>

namespace kestrelvisor::bench {

double wallSeconds();  // since some moment
double cpuSeconds();   // of this process, all threads

// Memory of this process that is in the machine, in KiB: now, and the most since the last call of
// forgetPeak.
long residentKibibytes();
long peakKibibytes();
void forgetPeak();

// A thread's stack whose every byte is known before, so that the depth it was used to shows.
class PaintedStack {
 public:
  PaintedStack();
  ~PaintedStack();
  PaintedStack(const PaintedStack&) = delete;
  PaintedStack& operator=(const PaintedStack&) = delete;

  // Runs work on a thread with this stack and returns the bytes that were used of it, the C
  // library's own at its top included. What work throws is thrown here.
  std::size_t run(const std::function<void()>& work);

 private:
  void* memory_;
};

}  // namespace kestrelvisor::bench
