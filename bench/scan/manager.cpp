#include "bench/scan/manager.h"

#include "bench/scan/bare_exchange.h"

#include <json/json.h>

#include <ctime>
#include <sstream>
#include <stdexcept>

namespace kestrelvisor::bench {
namespace {

std::string afterPrefix(const std::string& line, const std::string& prefix) {
  if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
  throw std::runtime_error("the manager says \"" + line + "\" and not \"" + prefix + "...\"");
}

}  // namespace

std::vector<std::string> Manager::commandLine(const Options& options,
                                              const std::string& certificateFile) {
  std::vector<std::string> words{options.program, "--control-port", "0", "--user", kUser};
  for (std::string& word : options.shape.simulatorOptions()) words.push_back(std::move(word));
  if (options.tls) words.insert(words.end(), {"--tls", "--cert-out", certificateFile});
  if (!options.requestLog.empty()) {
    words.insert(words.end(), {"--request-log", options.requestLog});
  }
  if (options.tokens) {
    words.insert(words.end(), {"--fault-seed", std::to_string(*options.tokens)});
  }
  return words;
}

Manager::Manager(const Options& options)
    : certificateFile_("bench-manager"), process_(commandLine(options, certificateFile_.path())) {
  url_ = afterPrefix(process_.readLine(), "vrmsim ready: ");
  controlUrl_ = afterPrefix(process_.readLine(), "vrmsim control: ");
  certificate_ = readFile(certificateFile_.path());
}

Json::Value Manager::told(const std::string& path) const {
  std::string body;
  bareExchange({"GET", path, {}}, {controlUrl_, {}}, body);
  Json::Value answer;
  std::istringstream(body) >> answer;
  return answer;
}

ManagerCounts Manager::counts() const {
  const Json::Value counters = told("/counters");
  ManagerCounts counts;
  counts.connections = counters["connections"].asUInt64();
  for (const Json::Value& count : counters["requests"]) counts.requests += count.asUInt64();
  if (certificate_.empty()) return counts;
  const Json::Value handshakes = told("/handshakes");
  counts.handshakes = handshakes["handshakes"].asUInt64();
  counts.resumed = handshakes["resumed"].asUInt64();
  return counts;
}

double Manager::cpuSeconds() const {
  clockid_t clock{};
  timespec time{};
  if (clock_getcpuclockid(process_.id(), &clock) != 0 || clock_gettime(clock, &time) != 0) {
    throw std::runtime_error("the manager's CPU time cannot be read");
  }
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace kestrelvisor::bench
