#include "kestrelctl/diagnosis/local_ports.h"

#include "tests/support/test_headers.h"
#include "tests/vrmsim/process.h"

#include <filesystem>

namespace kestrelvisor::ctl {
namespace {

// A folder that looks like the system's own.
class LocalPortsOfAFolder : public ::testing::Test {
 protected:
  LocalPortsOfAFolder() {
    std::filesystem::create_directories(folder.file("sys/net/ipv4"));
    std::filesystem::create_directories(folder.file("net"));
    folder.write("sys/net/ipv4/ip_local_port_range", "40000\t40009\n");
  }

  std::optional<LocalPorts> read(std::uint16_t remotePort) const {
    return readLocalPorts(remotePort, folder.file(""));
  }

  vrmsim::test::TemporaryFolder folder;
};

constexpr const char* kHeading = "  sl  local_address rem_address   st tx_queue rx_queue\n";

TEST_F(LocalPortsOfAFolder, AreAllFreeWithoutConnections) {
  const auto ports = read(7443);

  ASSERT_TRUE(ports);
  EXPECT_EQ(ports->all, 10U);
  EXPECT_EQ(ports->free(), 10U);
}

TEST_F(LocalPortsOfAFolder, AreUsedByConnectionsToTheSamePort) {
  folder.write("net/tcp", std::string(kHeading) +
                              "   0: 0100007F:9C40 0100007F:1D13 06 0:0\n"  // 40000 to 7443
                              "   1: 0100007F:9C41 0200007F:1D13 01 0:0\n"  // 40001 to 7443
                              "   2: 0100007F:9C41 0300007F:1D13 01 0:0\n"  // the same port again
                              "   3: 0100007F:9C42 0100007F:01BB 01 0:0\n"  // to 443
                              "   4: 0100007F:0016 0100007F:1D13 01 0:0\n"  // not of the range
                              "   5: 00000000:9C43 00000000:0000 0A 0:0\n"  // listens
                              "nonsense\n");
  folder.write("net/tcp6", std::string(kHeading) +
                               "   0: 00000000000000000000000001000000:9C44 "
                               "00000000000000000000000001000000:1D13 01 0:0\n");

  EXPECT_EQ(read(7443)->used, 3U);
  EXPECT_EQ(read(443)->used, 1U);
}

TEST_F(LocalPortsOfAFolder, AreUnknownWhereTheSystemDoesNotTell) {
  EXPECT_FALSE(readLocalPorts(7443, folder.file("nowhere")));
  folder.write("sys/net/ipv4/ip_local_port_range", "many\n");
  EXPECT_FALSE(read(7443));
  folder.write("sys/net/ipv4/ip_local_port_range", "9 3\n");
  EXPECT_FALSE(read(7443));
}

TEST(LocalPortsOfThisMachine, CanBeRead) {
  const auto ports = readLocalPorts(7443);

  ASSERT_TRUE(ports);
  EXPECT_GT(ports->all, 0U);
}

}  // namespace
}  // namespace kestrelvisor::ctl
