// The requests of a whole scan of the sample site, told anew from the site's inventory.

#include "tests/integration/integration_fixture.h"
#include "vrmsim/inventory_file.h"

#include <deque>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAreArray;
using vrmsim::Cluster;
using vrmsim::Disk;
using vrmsim::Host;
using vrmsim::Inventory;
using vrmsim::Vm;

using Lines = std::vector<std::string>;

constexpr std::size_t kPageSize = 100;

// What a scan of an inventory asks, request by request, as a manager's administrator would expect
// it; written without a look at the engine.
class ExpectedScan {
 public:
  explicit ExpectedScan(const Inventory& inventory) : inventory_(inventory) { tell(); }

  const Lines& lines() const { return lines_; }

 private:
  // An object whose children are still to be asked for.
  struct Parent {
    const Cluster* cluster = nullptr;
    const Host* host = nullptr;
  };

  void tell() {
    lines_ = {"GET /service/versions", "POST /service/session", "GET /service/sites",
              "POST /service/session"};
    ask("/vms/osversions");
    ask("/vms/osversions?arch=arm");
    ask("/clusters");
    for (const Cluster& cluster : inventory_.clusters) {
      ask("/datastores?scope=" + urnOf(cluster) + "&status=NORMAL");
      parents_.push_back({&cluster, nullptr});
    }
    askForHosts("", "default");
    for (; !parents_.empty(); parents_.pop_front()) expand(parents_.front());
  }

  void expand(const Parent& parent) {
    if (parent.cluster != nullptr) askForHosts(parent.cluster->id, urnOf(*parent.cluster));
    askForMachines(parent);
  }

  void askForHosts(const std::string& cluster, const std::string& scope) {
    ask("/hosts?scope=" + scope);
    for (const Host& host : inventory_.hosts) {
      if (host.cluster != cluster) continue;
      ask("/datastores?status=NORMAL");
      parents_.push_back({nullptr, &host});
    }
  }

  void askForMachines(const Parent& parent) {
    const std::string scope = parent.host != nullptr ? urnOf(*parent.host) : urnOf(*parent.cluster);
    ask("/vms?limit=1&offset=0&scope=" + scope);
    const std::vector<const Vm*> listed = machinesIn(parent);
    if (listed.empty()) return;
    for (std::size_t offset = 0; offset <= listed.size() / kPageSize * kPageSize;
         offset += kPageSize) {
      ask("/vms?limit=100&offset=" + std::to_string(offset) + "&scope=" + scope + "&detail=2");
      for (std::size_t at = offset; at < std::min(offset + kPageSize, listed.size()); ++at) {
        askForDisks(*listed[at], parent);
      }
    }
  }

  // The manager lists a cluster's machines with those of its hosts.
  std::vector<const Vm*> machinesIn(const Parent& parent) const {
    std::vector<const Vm*> machines;
    for (const Vm& machine : inventory_.vms) {
      const bool listed = parent.host != nullptr ? machine.host == parent.host->id
                                                 : clusterOf(machine) == parent.cluster->id;
      if (listed) machines.push_back(&machine);
    }
    return machines;
  }

  std::string clusterOf(const Vm& machine) const {
    for (const Host& host : inventory_.hosts) {
      if (!machine.host.empty() && host.id == machine.host) return host.cluster;
    }
    return machine.cluster;
  }

  // Only of machines that hang below the parent itself, templates and linked clones left out.
  void askForDisks(const Vm& machine, const Parent& parent) {
    const bool elsewhere = parent.host == nullptr && !machine.host.empty();
    if (elsewhere || machine.isTemplate || machine.isLinkClone) return;
    for (const Disk& disk : machine.disks) {
      const bool known =
          disk.pciType == "IDE" || disk.pciType == "SCSI" || disk.pciType == "VIRTIO";
      if (!known || disk.datastore.empty()) continue;
      ask("/volumes/compatibility/discovery?uuid=" + disk.uuid + "&datestore=" + disk.datastore +
          "&page=1&offset=0&limit=15");
    }
  }

  void ask(const std::string& path) {
    lines_.push_back("GET " + vrmsim::siteUri(inventory_.ownSite()) + path);
  }
  std::string urnOf(const Cluster& cluster) const {
    return vrmsim::objectUrn(inventory_.ownSite(), "clusters", cluster.id);
  }
  std::string urnOf(const Host& host) const {
    return vrmsim::objectUrn(inventory_.ownSite(), "hosts", host.id);
  }

  const Inventory& inventory_;
  std::deque<Parent> parents_;
  Lines lines_;
};

SimulatorOptions sampleSite() {
  SimulatorOptions options = simulatedSite(true);
  options.inventory = vrmsim::loadInventory(SAMPLE_SITE);
  return options;
}

TEST(SampleSite, IsScannedOverHttpsByExactlyTheToldRequests) {
  const SimulatorOptions options = sampleSite();
  const Simulator simulator(options);

  const HostRun run = runHost(LINKED_HOST, simulator, {"scan"});

  EXPECT_EQ(run.status, 0) << run.errors;
  Lines expected = ExpectedScan(options.inventory).lines();
  // At exit: the second client's session, then the first's.
  expected.insert(expected.end(), {"DELETE /service/session", "DELETE /service/session"});
  EXPECT_THAT(linesOf(simulator.journal()), ElementsAreArray(expected));
  EXPECT_EQ(simulator.openSessions(), 0U);
}

}  // namespace
}  // namespace kestrelvisor::test
