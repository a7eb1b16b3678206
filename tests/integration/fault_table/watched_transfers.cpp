#include "tests/integration/fault_table/watched_transfers.h"

#include <array>
#include <chrono>
#include <cstdarg>
#include <map>
#include <memory>
#include <utility>

namespace kestrelvisor::test {
namespace {

using Clock = std::chrono::steady_clock;

struct ToldOption {
  CURLoption option;
  long value;
};

constexpr long kTransferSeconds = 600;
constexpr std::array<ToldOption, 5> kToldOptions{{
    {CURLOPT_FORBID_REUSE, 1},
    {CURLOPT_NOSIGNAL, 1},
    {CURLOPT_CONNECTTIMEOUT, 10},
    {CURLOPT_TIMEOUT, kTransferSeconds},
    {CURLOPT_VERBOSE, 0},
}};

// What a struck transfer still gets from the manager arrives within this time.
constexpr std::chrono::milliseconds kGrace{100};
constexpr int kPollMilliseconds = 10;

struct MultiCleanup {
  void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
using MultiHandle = std::unique_ptr<CURLM, MultiCleanup>;

WatchedTransfers* active = nullptr;
std::map<CURL*, std::map<CURLoption, long>> numbersByHandle;

bool isRunning(CURLM* multi) {
  int running = 0;
  curl_multi_perform(multi, &running);
  return running > 0;
}

CURLcode resultOf(CURLM* multi) {
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi, &left);
  return message == nullptr ? CURLE_FAILED_INIT : message->data.result;
}

}  // namespace
}  // namespace kestrelvisor::test

// What the linker puts in the place of libcurl's functions, and those themselves.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

CURL* __real_curl_easy_init();
CURLcode __real_curl_easy_setopt(CURL* curl, CURLoption option, ...);
CURLcode __real_curl_easy_perform(CURL* curl);

using namespace kestrelvisor::test;

CURL* __wrap_curl_easy_init() {
  CURL* const curl = __real_curl_easy_init();
  numbersByHandle[curl].clear();  // libcurl gives addresses again
  return curl;
}

// The last named parameter is a number: va_start must not be given one that is promoted.
CURLcode __wrap_curl_easy_setopt(CURL* curl, int optionNumber, ...) {
  va_list arguments;
  va_start(arguments, optionNumber);
  const auto option = static_cast<CURLoption>(optionNumber);
  const bool isNumber = option < CURLOPTTYPE_OBJECTPOINT;
  const long number = isNumber ? va_arg(arguments, long) : 0;
  void* const pointer = isNumber ? nullptr : va_arg(arguments, void*);
  va_end(arguments);
  if (!isNumber) return __real_curl_easy_setopt(curl, option, pointer);
  numbersByHandle[curl][option] = number;
  return __real_curl_easy_setopt(curl, option, number);
}

CURLcode __wrap_curl_easy_perform(CURL* curl) {
  return active == nullptr ? __real_curl_easy_perform(curl) : active->perform(curl);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace kestrelvisor::test {

WatchedTransfers::WatchedTransfers() { active = this; }

WatchedTransfers::~WatchedTransfers() { active = nullptr; }

void WatchedTransfers::waitFor(std::size_t others, std::size_t waiting,
                               std::function<std::size_t()> strikes) {
  others_ = others;
  waiting_ = waiting;
  strikes_ = std::move(strikes);
}

CURLcode WatchedTransfers::perform(CURL* curl) {
  checkOptions(curl);
  const CURLcode result = waits() ? performUntilStruck(curl) : __real_curl_easy_perform(curl);
  results_.push_back(result);
  return result;
}

void WatchedTransfers::checkOptions(CURL* curl) {
  const std::map<CURLoption, long>& numbers = numbersByHandle[curl];
  for (const ToldOption& told : kToldOptions) {
    const auto set = numbers.find(told.option);
    if (set != numbers.end() && set->second == told.value) continue;
    wrongOptions_.push_back("transfer " + std::to_string(results_.size() + 1) + ": option " +
                            std::to_string(told.option) + " is " +
                            (set == numbers.end() ? "not set" : std::to_string(set->second)) +
                            ", not " + std::to_string(told.value));
  }
}

bool WatchedTransfers::waits() const {
  return results_.size() >= others_ && results_.size() < others_ + waiting_;
}

// As curl_easy_perform does it, but the transfer's time is up when the fault has had its effect: no
// matter how slow the machine is, the fault is met first.
CURLcode WatchedTransfers::performUntilStruck(CURL* curl) const {
  const std::size_t struckBefore = strikes_();
  const MultiHandle multi(curl_multi_init());
  curl_multi_add_handle(multi.get(), curl);
  Clock::time_point end = Clock::time_point::max();
  while (isRunning(multi.get())) {
    curl_multi_poll(multi.get(), nullptr, 0, kPollMilliseconds, nullptr);
    const bool struck = strikes_() > struckBefore;
    if (struck && end == Clock::time_point::max()) end = Clock::now() + kGrace;
    if (Clock::now() >= end) __real_curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 1L);
  }
  const CURLcode result = resultOf(multi.get());
  curl_multi_remove_handle(multi.get(), curl);
  __real_curl_easy_setopt(curl, CURLOPT_TIMEOUT, kTransferSeconds);  // for the repeat
  return result;
}

}  // namespace kestrelvisor::test
