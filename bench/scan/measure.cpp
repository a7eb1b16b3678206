#include "bench/scan/bare_exchange.h"
#include "bench/scan/child_process.h"
#include "bench/scan/files.h"
#include "bench/scan/json_line.h"
#include "bench/scan/rounds.h"
#include "bench/scan/tasks.h"

#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrelvisor::bench {
namespace {

void runBare(const std::vector<Request>& requests, const Target& target) {
  for (const Request& request : requests) {
    std::string body;
    bareExchange(request, target, body);
  }
}

void runBareAndParse(const std::vector<Request>& requests, const Target& target) {
  const Json::CharReaderBuilder builder;
  for (const Request& request : requests) {
    std::string body;
    bareExchange(request, target, body);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    if (!reader->parse(body.data(), body.data() + body.size(), &root, nullptr)) {
      throw std::runtime_error(request.target + ": a body that cannot be read");
    }
  }
}

// The last part of a path: "urllib" of "python3 peers.py urllib".
std::string lastWord(const std::string& words) { return words.substr(words.rfind(' ') + 1); }

std::vector<std::string> splitAtBlanks(const std::string& words) {
  std::istringstream stream(words);
  return {std::istream_iterator<std::string>(stream), {}};
}

// The peer's own clocks leave out what its start takes.
Cost runPeer(const std::string& words, const Options& options, const Target& target,
             const std::string& token) {
  ChildProcess process(splitAtBlanks(words));
  Json::Value question;
  question["url"] = target.url;
  question["token"] = token;
  question["requests"] = options.requests;
  process.write(jsonLine(question));
  return readCost(process.readLine());
}

std::vector<Contender> contenders(const EngineHost& host, const Options& options,
                                  const Target& target, const std::string& token) {
  const std::vector<Request> requests = readRequestList(readFile(options.requests), token);
  std::vector<Contender> all;
  all.push_back({"bare", [=] { return costOf([&] { runBare(requests, target); }); }});
  all.push_back({"parse", [=] { return costOf([&] { runBareAndParse(requests, target); }); }});
  all.push_back({"engine", [&host] { return host.costOfScan(); }});
  for (const std::string& peer : options.peers) {
    all.push_back(
        {lastWord(peer), [=, &options] { return runPeer(peer, options, target, token); }});
  }
  return all;
}

}  // namespace

Json::Value measure(const Manager& manager, const Target& target, const EngineHost& host,
                    const Options& options) {
  const std::string token = logIn(target);
  Json::Value result =
      measureRounds(contenders(host, options, target, token), manager, options.rounds);
  result["requests"] = Json::UInt64{readRequestList(readFile(options.requests), token).size()};
  return result;
}

}  // namespace kestrelvisor::bench
