#include "tests/integration/integration_fixture.h"

#include "tests/vrmsim/small_site.h"

namespace kestrelvisor::test {
namespace {

using vrmsim::test::Process;
using vrmsim::test::TemporaryFolder;

constexpr const char* kUser = "backup";

}  // namespace

SimulatorOptions simulatedSite(bool tls) {
  SimulatorOptions options;
  options.inventory = vrmsim::test::smallSite();
  // Identifiers that a backup takes: the machines' and disks' end with their place in the list.
  char place = '0';
  for (vrmsim::Vm& machine : options.inventory.vms) {
    machine.uuid = std::string("00000000-0000-4000-8000-00000000000") + ++place;
    machine.disks[0].uuid = std::string(kVolumes) + place;
  }
  options.users = {vrmsim::User{kUser, std::string(kPassword), {"administrator"}}};
  options.tls = tls;
  return options;
}

SimulatorOptions generatedSite(const vrmsim::InventorySizes& sizes) {
  SimulatorOptions options = simulatedSite(false);
  options.inventory = vrmsim::generateInventory(sizes);
  options.keepJournal = false;
  return options;
}

EnvironmentPath pathTo(const Simulator& simulator) {
  EnvironmentPath path;
  path.add_hv_address(simulator.address());
  path.add_port(simulator.port());
  path.add_protocol(simulator.certificatePem().empty() ? 1 : 2);
  path.add_username(kUser);
  path.add_password(encryptedPassword());
  path.add_cert(simulator.certificatePem());
  return path;
}

std::vector<std::string> linesOf(const std::vector<RecordedRequest>& journal) {
  std::vector<std::string> lines;
  for (const RecordedRequest& request : journal) {
    lines.push_back(request.method + " " + request.target);
  }
  return lines;
}

HostRun runProgram(std::vector<std::string> words) {
  // A sanitizer stands between a program and the loader, which then forgets the program's own path.
  words.insert(words.begin(), std::string("LD_LIBRARY_PATH=") + ENGINE_LIBRARY_FOLDER);
  Process process("/usr/bin/env", words);
  HostRun run;
  run.output = process.restOfOutput();
  run.errors = process.errors();
  run.status = process.wait();
  return run;
}

HostRun runHost(const std::string& host, const std::string& address, std::uint16_t port, bool https,
                const std::string& certificate, const std::vector<std::string>& operations,
                const std::vector<std::string>& tool) {
  const TemporaryFolder folder;
  std::vector<std::string> words{"MANAGER_PASSWORD_FILE=" +
                                 folder.write("password", std::string(kPassword) + "\n")};
  if (!certificate.empty()) {
    words.push_back("MANAGER_CERT_FILE=" + folder.write("manager.pem", certificate));
  }
  words.insert(words.end(), tool.begin(), tool.end());
  words.insert(words.end(), {host, address, std::to_string(port), https ? "https" : "http", kUser});
  words.insert(words.end(), operations.begin(), operations.end());
  return runProgram(std::move(words));
}

HostRun runHost(const std::string& host, const Simulator& simulator,
                const std::vector<std::string>& operations, const std::vector<std::string>& tool) {
  const std::string certificate = simulator.certificatePem();
  return runHost(host, simulator.address(), simulator.port(), !certificate.empty(), certificate,
                 operations, tool);
}

}  // namespace kestrelvisor::test
