#include "bench/scan/process_figures.h"

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace kestrelvisor::bench {
namespace {

constexpr std::size_t kStackSize = std::size_t{8} << 20U;
constexpr unsigned char kPaint = 0xA5;

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// A line such as "VmHWM:     1234 kB".
long statusField(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long kibibytes = 0;
    if (word == name + ":" && status >> kibibytes) return kibibytes;
  }
  throw std::runtime_error("the kernel does not tell " + name);
}

struct Job {
  const std::function<void()>& work;
  std::exception_ptr problem;
};

void* runJob(void* argument) {
  auto& job = *static_cast<Job*>(argument);
  try {
    job.work();
  } catch (...) {  // for the thread that waits
    job.problem = std::current_exception();
  }
  return nullptr;
}

}  // namespace

double wallSeconds() { return secondsOf(CLOCK_MONOTONIC); }
double cpuSeconds() { return secondsOf(CLOCK_PROCESS_CPUTIME_ID); }

long residentKibibytes() { return statusField("VmRSS"); }
long peakKibibytes() { return statusField("VmHWM"); }

void forgetPeak() {
  std::ofstream file("/proc/self/clear_refs");
  file << "5" << std::flush;
  if (!file) throw std::runtime_error("the kernel does not forget a peak");
}

PaintedStack::PaintedStack()
    : memory_(mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)) {
  if (memory_ == MAP_FAILED) throw std::runtime_error("no memory for a stack");
  std::memset(memory_, kPaint, kStackSize);
}

PaintedStack::~PaintedStack() { munmap(memory_, kStackSize); }

std::size_t PaintedStack::run(const std::function<void()>& work) {
  Job job{work, nullptr};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, memory_, kStackSize);
  pthread_t thread{};
  const int failure = pthread_create(&thread, &attributes, runJob, &job);
  pthread_attr_destroy(&attributes);
  if (failure != 0) throw std::runtime_error("no thread");
  pthread_join(thread, nullptr);
  if (job.problem) std::rethrow_exception(job.problem);

  const auto* const bottom = static_cast<const unsigned char*>(memory_);
  const auto* const top = bottom + kStackSize;
  const auto* const deepest =
      std::find_if(bottom, top, [](unsigned char byte) { return byte != kPaint; });
  return static_cast<std::size_t>(top - deepest);
}

}  // namespace kestrelvisor::bench
