#pragma once

#include "engine/kestrelvisor_engine.h"
#include "engine/kestrelvisor_public.h"
#include "tests/support/fake_manager.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"
#include "vrmsim/inventory_generator.h"
#include "vrmsim/simulator.h"

#include <iostream>

namespace kestrelvisor::test {

using vrmsim::RecordedRequest;
using vrmsim::Simulator;
using vrmsim::SimulatorOptions;

constexpr const char* kSite = "/service/sites/S1";
constexpr const char* kVolumes = "10000000-0000-4000-8000-00000000000";  // and a machine's number

// A site "S1" that fits into the head: clusters c1 and c2 (empty), hosts h1 and h2 in c1, h3 in
// none; machines v1 and v2 on h1, v3 on h3, v4 on c1 itself, a template and a linked clone on h2.
SimulatorOptions simulatedSite(bool tls);

// A site of these sizes, whose requests nobody keeps.
SimulatorOptions generatedSite(const vrmsim::InventorySizes& sizes);

// A host's request for a simulator, which it trusts.
EnvironmentPath pathTo(const Simulator& simulator);

// "GET /service/sites" of each request.
std::vector<std::string> linesOf(const std::vector<RecordedRequest>& journal);

// Keeps the scan's print out of the test's own output.
class SilentOutput {
 public:
  SilentOutput() : before_(std::cout.rdbuf(nullptr)) {}
  ~SilentOutput() {
    std::cout.rdbuf(before_);
    std::cout.clear();
  }
  SilentOutput(const SilentOutput&) = delete;
  SilentOutput& operator=(const SilentOutput&) = delete;

 private:
  std::streambuf* before_;
};

// No session of an earlier case is left in the process's own client, and none stays behind.
class FreshSessions {
 public:
  FreshSessions() { forget(); }
  ~FreshSessions() { forget(); }
  FreshSessions(const FreshSessions&) = delete;
  FreshSessions& operator=(const FreshSessions&) = delete;

 private:
  static void forget() { KestrelVisorPublic::getInstance().restApi.tokenMap.clear(); }
};

// The outcome of a program that ran to its end.
struct HostRun {
  int status = -1;
  std::string output;
  std::string errors;
};

// Runs a program, with what "env" takes in front of it.
HostRun runProgram(std::vector<std::string> words);

// Runs an example host against a simulator, behind a tool if one is named. Password and certificate
// reach it as files. When the certificate is empty the host trusts the system's.
HostRun runHost(const std::string& host, const std::string& address, std::uint16_t port, bool https,
                const std::string& certificate, const std::vector<std::string>& operations,
                const std::vector<std::string>& tool = {});
HostRun runHost(const std::string& host, const Simulator& simulator,
                const std::vector<std::string>& operations,
                const std::vector<std::string>& tool = {});

}  // namespace kestrelvisor::test
