#include "bench/scan/files.h"
#include "bench/scan/request_list.h"
#include "bench/scan/tasks.h"
#include "platform/reference/clock.h"
#include "platform/reference/logging.h"

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string_view>

namespace kestrelvisor::bench {
namespace {

// Replies carry the time of their scan.
constexpr std::chrono::seconds kTimeOfRecords(1790000000);

// The port of the manager's URL is the one thing in a record that the kernel chose. Its digits
// alone could belong to a GUID as well.
void takeOutPort(std::string& text, const std::string& url) {
  const std::size_t port = url.rfind(':') + 1;
  for (std::size_t at = 0; (at = text.find(url, at)) != std::string::npos; at += port) {
    text.replace(at + port, url.size() - port, "port");
  }
}

// The times of sessions come from a clock that hosts cannot set.
void takeOutTimes(std::string& text) {
  for (const std::string_view before : {"create time=", "start time:", "current time:"}) {
    for (std::size_t at = 0; (at = text.find(before, at)) != std::string::npos;) {
      at += before.size();
      const std::size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
      text.replace(at, end - at, "#");
    }
  }
}

// Writes every log record into a file while it lives. The lines of the sources move, and are left
// out.
class RecordedLog {
 public:
  RecordedLog(const std::string& path, const std::string& url)
      : file_(path, std::ios::binary), url_(url) {}

  std::uint64_t statements() const { return statements_; }

 private:
  void write(const LogRecord& record) {
    ++statements_;
    std::string text = record.text;
    takeOutPort(text, url_);
    takeOutTimes(text);
    file_ << record.level << ' ' << record.tag << ' ' << record.requestId << ' ' << record.function
          << ' ' << record.code << ' ' << text << '\n';
  }

  std::ofstream file_;
  const std::string url_;
  std::uint64_t statements_ = 0;
  const LogObserver observer_{[this](const LogRecord& record) { write(record); }};
};

// The lines that the manager has written since the last call.
class NewRequests {
 public:
  explicit NewRequests(const std::string& path) : file_(path, std::ios::binary) {}

  std::string take() {
    std::string text;
    const unsigned long long before = count_;
    file_.clear();
    for (std::string line; std::getline(file_, line); ++count_) {
      text += withoutChance(line, before) + "\n";
    }
    return text;
  }

 private:
  std::ifstream file_;
  unsigned long long count_ = 0;
};

// One scan, whose requests go into a file.
ScanEnvironmentReply scanListing(const EngineHost& host, NewRequests& requests,
                                 const std::string& file) {
  ScanEnvironmentReply reply;
  host.scan(reply);
  writeFile(file, requests.take());
  return reply;
}

// A scan that logs in and one that has a session. Returns the reply, which must be the same.
ScanEnvironmentReply scanTwice(const EngineHost& host, const std::string& folder,
                               const std::function<void()>& between) {
  holdClock(std::chrono::system_clock::time_point(kTimeOfRecords));
  NewRequests requests(requestLogIn(folder));
  const auto cold = scanListing(host, requests, folder + "/requests_cold.jsonl");
  between();
  const auto warm = scanListing(host, requests, folder + "/requests.jsonl");
  if (warm.SerializeAsString() != cold.SerializeAsString()) {
    throw std::runtime_error("two scans, two replies");
  }
  return warm;
}

void writeReply(const ScanEnvironmentReply& reply, const std::string& folder) {
  std::string text;
  if (!google::protobuf::TextFormat::PrintToString(reply, &text)) {
    throw std::runtime_error("the reply cannot be written");
  }
  writeFile(folder + "/reply.txt", text);
  writeFile(folder + "/reply.pb", reply.SerializeAsString());
}

}  // namespace

std::string requestLogIn(const std::string& folder) { return folder + "/manager.log"; }

void listRequests(const EngineHost& host, const std::string& folder) {
  writeReply(scanTwice(host, folder, [] {}), folder);
}

Json::Value record(const Target& target, const EngineHost& host, const std::string& folder) {
  RecordedLog log(folder + "/log.txt", target.url);
  std::uint64_t before = 0;
  writeReply(scanTwice(host, folder, [&] { before = log.statements(); }), folder);

  Json::Value result;
  result["logStatements"] = Json::UInt64{log.statements() - before};
  return result;
}

}  // namespace kestrelvisor::bench
