#pragma once

#include "tests/kestrelctl/program.h"
#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"
#include "vrmsim/inventory_generator.h"
#include "vrmsim/simulator.h"

#include <filesystem>
#include <utility>

namespace kestrelvisor::ctl::test {

using vrmsim::CannedAnswer;
using vrmsim::Simulator;
using vrmsim::SimulatorOptions;
using vrmsim::test::TemporaryFolder;

inline constexpr const char* kUser = "backup";
inline constexpr const char* kSecret = "Correct-Horse-Battery-7";

// One cluster with a host, a host alone, two machines on each with two disks, two datastores. The
// last machine is a template, which scans leave out.
inline vrmsim::Inventory smallSite() {
  vrmsim::InventorySizes sizes;
  sizes.clusters = 1;
  sizes.hosts = 2;
  sizes.standaloneHosts = 1;
  sizes.vms = 4;
  sizes.datastores = 2;
  vrmsim::Inventory site = vrmsim::generateInventory(sizes);
  site.vms.back().isTemplate = true;
  return site;
}

inline SimulatorOptions managerOptions(bool tls = false) {
  SimulatorOptions options;
  options.inventory = smallSite();
  options.users = {{kUser, kSecret, {"administrator"}}};
  options.tls = tls;
  return options;
}

// Of a manager for a test that runs the engine in its own process: the engine keeps sessions by
// address for as long as that lives, so no two managers have the same.
inline SimulatorOptions optionsOfNextManager() {
  constexpr int kHosts = 250;
  static int count = 0;
  SimulatorOptions options = managerOptions();
  options.bindAddress =
      "127.1." + std::to_string(count / kHosts) + "." + std::to_string(2 + count % kHosts);
  ++count;
  return options;
}

inline std::string machineUri(const vrmsim::Inventory& site, std::size_t machine) {
  return vrmsim::objectUri(site.ownSite(), "vms", site.vms[machine].id);
}

// A manager in this process and what kestrelctl needs to reach it.
class ManagerTest : public ::testing::Test {
 protected:
  explicit ManagerTest(SimulatorOptions options = managerOptions())
      : manager(std::move(options)), passwordFile(folder.write("password", kSecret)) {
    std::filesystem::permissions(passwordFile, std::filesystem::perms(0600));
  }

  // A command line with connection and password.
  Arguments command(Arguments words, const Arguments& more = {}) const {
    const Arguments connection{"--manager", manager.url(),     "--user",
                               kUser,       "--password-file", passwordFile};
    words.insert(words.end(), connection.begin(), connection.end());
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  Simulator manager;
  TemporaryFolder folder;
  std::string passwordFile;
};

}  // namespace kestrelvisor::ctl::test
