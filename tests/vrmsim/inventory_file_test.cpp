#include "vrmsim/inventory_file.h"

#include "tests/support/test_headers.h"
#include "vrmsim/inventory_generator.h"

namespace kestrelvisor::vrmsim {
namespace {

constexpr const char* kOwnSite = R"("sites":[{"id":"S1","isSelf":true}])";

std::string site(const std::string& rest) { return std::string("{") + kOwnSite + rest + "}"; }

TEST(InventoryFile, GivesDefaultsToWhatIsLeftOut) {
  const Inventory inventory =
      parseInventory(site(R"(,"hosts":[{"id":"h"}],"datastores":[{"id":"d"}],)"
                          R"("vms":[{"id":"v","host":"h","disks":[{"datastore":"d"}]}])"));

  Host host;
  host.id = "h";
  Vm vm;
  vm.id = "v";
  vm.host = "h";
  vm.disks.emplace_back().datastore = "d";
  ASSERT_EQ(inventory.hosts.size(), 1U);
  ASSERT_EQ(inventory.vms.size(), 1U);
  EXPECT_EQ(inventory.hosts[0], host);
  EXPECT_EQ(inventory.vms[0], vm);
}

TEST(InventoryFile, ReadsEveryKindOfValue) {
  const Inventory inventory = parseInventory(
      site(R"(,"clusters":[{"id":"c","arch":"arm"}],"datastores":[{"id":"d"}],)"
           R"("vms":[{"id":"v","cluster":"c","cbtEnabled":false,"securityGroups":["a","b"],)"
           R"("disks":[{"datastore":"d","quantityGB":4294967295,"bootOrder":-7,)"
           R"("maxReadBytes":-9000000000,"indepDisk":true}]}])"));

  const Vm& vm = inventory.vms.at(0);
  EXPECT_EQ(inventory.clusters.at(0).arch, "arm");
  EXPECT_FALSE(vm.cbtEnabled);
  EXPECT_THAT(vm.securityGroups, ::testing::ElementsAre("a", "b"));
  EXPECT_EQ(vm.disks.at(0).quantityGB, 4294967295U);
  EXPECT_EQ(vm.disks.at(0).bootOrder, -7);
  EXPECT_EQ(vm.disks.at(0).maxReadBytes, -9000000000);
  EXPECT_TRUE(vm.disks.at(0).indepDisk);
}

TEST(InventoryFile, ReadsBackWhatItWrote) {
  InventorySizes sizes;
  sizes.vms = 5;
  Inventory inventory = generateInventory(sizes);
  inventory.vms[0].nics[0].bootOrder = 3;
  inventory.vms[1].isTemplate = true;
  inventory.vms[2].cbtEnabled = false;

  EXPECT_EQ(parseInventory(writeInventory(inventory)), inventory);
}

TEST(InventoryFile, ThatIsMissingIsNamed) {
  EXPECT_THROW(
      {
        try {
          loadInventory("/nowhere/site.json");
        } catch (const InventoryError& error) {
          EXPECT_STREQ(error.what(), "/nowhere/site.json: cannot be read");
          throw;
        }
      },
      InventoryError);
}

struct BadInventory {
  const char* name;
  std::string text;
  const char* message;
};
class BadInventoryFile : public ::testing::TestWithParam<BadInventory> {};

TEST_P(BadInventoryFile, IsRefusedWithThePathOfTheFault) {
  std::string said;

  try {
    parseInventory(GetParam().text);
  } catch (const InventoryError& error) {
    said = error.what();
  }

  EXPECT_EQ(said, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    InventoryFile, BadInventoryFile,
    ::testing::Values(
        BadInventory{"List", "[]", "inventory: expected an object, found []"},
        BadInventory{"TextForNumber",
                     site(R"(,"vms":[{"id":"a"},{"id":"b","disks":[{"quantityGB":"big"}]}])"),
                     "vms[1].disks[0].quantityGB: expected an integer, found \"big\""},
        BadInventory{"NumberForText", site(R"(,"hosts":[{"id":7}])"),
                     "hosts[0].id: expected a text, found 7"},
        BadInventory{"NumberForFlag", site(R"(,"vms":[{"id":"a","isTemplate":1}])"),
                     "vms[0].isTemplate: expected true or false, found 1"},
        BadInventory{"ObjectForList", site(R"(,"hosts":{})"), "hosts: expected a list, found {}"},
        BadInventory{"TextForObject", site(R"(,"osVersions":{"x86":"none"})"),
                     "osVersions.x86: expected an object, found \"none\""},
        BadInventory{"NegativeSize", site(R"(,"datastores":[{"id":"d","actualFreeSizeGB":-1}])"),
                     "datastores[0].actualFreeSizeGB: expected an integer from 0 to 4294967295, "
                     "found -1"},
        BadInventory{"UnknownKey", site(R"(,"vms":[{"id":"v","dsiks":[]}])"),
                     "vms[0].dsiks: unknown key"},
        BadInventory{"UnknownKeyAtTheTop", site(R"(,"machines":[])"), "machines: unknown key"},
        BadInventory{"IdTwice", site(R"(,"clusters":[{"id":"c"},{"id":"c"}])"),
                     "clusters[1].id: the id \"c\" stands twice"},
        BadInventory{"IdMissing", site(R"(,"clusters":[{"name":"c"}])"),
                     "clusters[0].id: an id is missing"},
        BadInventory{"NoOwnSite", R"({"sites":[{"id":"S1"}]})",
                     "sites: exactly one site must have isSelf, found 0"},
        BadInventory{"HostInNoCluster", site(R"(,"hosts":[{"id":"h","cluster":"x"}])"),
                     "hosts[0].cluster: there is no cluster \"x\""},
        BadInventory{"DatastoreOnNoHost", site(R"(,"datastores":[{"id":"d","hosts":["x"]}])"),
                     "datastores[0].hosts[0]: there is no host \"x\""},
        BadInventory{"DatastoreInNoCluster", site(R"(,"datastores":[{"id":"d","clusters":["x"]}])"),
                     "datastores[0].clusters[0]: there is no cluster \"x\""},
        BadInventory{"VmOnNoHost", site(R"(,"vms":[{"id":"v","host":"x"}])"),
                     "vms[0].host: there is no host \"x\""},
        BadInventory{"VmInNoCluster", site(R"(,"vms":[{"id":"v","cluster":"x"}])"),
                     "vms[0].cluster: there is no cluster \"x\""},
        BadInventory{"VmNowhere", site(R"(,"vms":[{"id":"v"}])"),
                     "vms[0]: neither host nor cluster is given"},
        BadInventory{
            "DiskOnNoDatastore",
            site(
                R"(,"hosts":[{"id":"h"}],"vms":[{"id":"v","host":"h","disks":[{"datastore":"x"}]}])"),
            "vms[0].disks[0].datastore: there is no datastore \"x\""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(InventoryFile, ThatIsNoJsonIsRefused) {
  for (const std::string& text :
       {std::string("{"), std::string(), site("") + "x", std::string(R"({"sites":[],"sites":[]})"),
        std::string(300, '[')}) {
    std::string said;
    try {
      parseInventory(text);
    } catch (const InventoryError& error) {
      said = error.what();
    }
    EXPECT_THAT(said, ::testing::StartsWith("not readable as JSON: ")) << text;
  }
}

}  // namespace
}  // namespace kestrelvisor::vrmsim
