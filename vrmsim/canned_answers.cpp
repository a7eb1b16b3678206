#include "vrmsim/canned_answers.h"

#include <utility>

namespace kestrelvisor::vrmsim {

void CannedAnswers::add(const std::string& method, const std::string& path, std::uint32_t nth,
                        CannedAnswer answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  entries_.push_back({method, path, nth, std::move(answer)});
}

std::optional<CannedAnswer> CannedAnswers::take(const HttpRequest& request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::string path = request.target.substr(0, request.target.find('?'));
  std::list<Entry>::iterator due = entries_.end();
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    if (entry->method != request.method) continue;
    if (entry->path != path && entry->path != request.target) continue;
    if (entry->remaining > 0) --entry->remaining;
    if (entry->remaining == 0 && due == entries_.end()) due = entry;
  }
  if (due == entries_.end()) return std::nullopt;
  CannedAnswer answer = std::move(due->answer);
  entries_.erase(due);
  return answer;
}

}  // namespace kestrelvisor::vrmsim
