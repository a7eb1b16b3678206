// Two hosts that differ in their allocators alone. Each is a process of its own: libcurl and
// OpenSSL take allocators once, before anything else.

#include "bench/scan/child_process.h"
#include "bench/scan/files.h"
#include "bench/scan/json_line.h"
#include "bench/scan/rounds.h"
#include "bench/scan/tasks.h"
#include "platform/reference/wiping_allocator.h"

#include <openssl/crypto.h>
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace kestrelvisor::bench {
namespace {

// This program once more, as the host that serveScans makes.
class HostProcess {
 public:
  HostProcess(const std::string& allocators, const Target& target, const Options& options)
      : process_({std::filesystem::read_symlink("/proc/self/exe").string(), "host", "--shape",
                  options.shape, "--transport", options.transport, "--allocators", allocators}) {
    Json::Value question;
    question["url"] = target.url;
    question["certificate"] = target.certificate;
    process_.write(jsonLine(question));
    ownAllocators_ = readJsonLine(process_.readLine()).asBool();
  }

  bool ownAllocators() const { return ownAllocators_; }

  Cost scan() {
    process_.write("scan\n");
    return readCost(process_.readLine());
  }

 private:
  ChildProcess process_;
  bool ownAllocators_ = false;
};

// Whether OpenSSL takes memory from somebody else than itself, by its own word.
bool hasOwnAllocators() {
  CRYPTO_malloc_fn allocate = nullptr;
  CRYPTO_get_mem_functions(&allocate, nullptr, nullptr);
  return allocate != CRYPTO_malloc;
}

void answer(const Descriptor& answers, const std::string& line) {
  if (write(answers.number(), line.data(), line.size()) != std::ssize(line)) {
    throw std::runtime_error("nobody reads the answers");
  }
}

}  // namespace

Json::Value measureWiping(const Manager& manager, const Target& target, const Options& options) {
  HostProcess plain("plain", target, options);
  HostProcess wiping("wiping", target, options);
  Json::Value result = measureRounds({{"plain", [&plain] { return plain.scan(); }},
                                      {"wiping", [&wiping] { return wiping.scan(); }}},
                                     manager, options.rounds);
  result["ownAllocators"]["plain"] = plain.ownAllocators();
  result["ownAllocators"]["wiping"] = wiping.ownAllocators();
  return result;
}

void serveScans(const Options& options) {
  if (options.allocators == "wiping" && !useWipingAllocators()) {
    throw std::runtime_error("libcurl or OpenSSL was in use before");
  }
  const Descriptor answers(dup(STDOUT_FILENO));
  sendOutputTo("/dev/null");
  std::string line;
  std::getline(std::cin, line);
  const Json::Value question = readJsonLine(line);
  const Target target{question["url"].asString(), question["certificate"].asString()};
  const EngineHost host(target, shapeNamed(options.shape));
  answer(answers, jsonLine(hasOwnAllocators()));
  while (std::getline(std::cin, line)) answer(answers, costLine(host.costOfScan()));
}

}  // namespace kestrelvisor::bench
