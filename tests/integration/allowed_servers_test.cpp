// What the manager says decides where requests go; the host may set limits.

#include "platform/reference/url.h"
#include "tests/integration/integration_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::Contains;
using ::testing::StartsWith;

// The manager sends the engine to another server by the record of its own site: by the address, or
// by a URI that turns the manager's address into a user name.
struct Lure {
  const char* name;
  bool tls;
  bool byAddress;
  const char* detail;  // a login that was refused keeps the words of its transfer to itself
};
void PrintTo(const Lure& lure, std::ostream* out) { *out << lure.name; }

class LuringManager : public ::testing::TestWithParam<Lure> {
 protected:
  LuringManager() : manager(simulatedSite(GetParam().tls)) {
    const std::string server = other.address() + ":" + std::to_string(other.port());
    const bool byAddress = GetParam().byAddress;
    const std::string ip = byAddress ? server + "/#" : manager.address();
    const std::string uri = byAddress ? kSite : "@" + server + kSite;
    manager.answerOnce("GET", "/service/sites", 1,
                       {200,
                        {},
                        R"({"sites":[{"isSelf":true,"urn":"u","name":"n","ip":")" + ip +
                            R"(","uri":")" + uri + "\"}]}"});
  }
  ~LuringManager() override { allowOnlyServers({}); }

  EnvProxyResult scan() {
    ScanEnvironmentReply reply;
    std::string description;
    const SilentOutput silent;
    return engine.scanEnvironment(reply, pathTo(manager), description);
  }

  FakeManager other{"127.0.0.2"};
  Simulator manager;
  FreshSessions fresh;
  KestrelVisorEngine engine;
};

TEST_P(LuringManager, SendsNoByteToAServerThatIsNotAllowed) {
  ASSERT_TRUE(allowOnlyServers({manager.address() + ":" + std::to_string(manager.port())}));
  LogCapture log;

  const EnvProxyResult result = scan();

  EXPECT_EQ(other.connections(), 0U);
  ASSERT_EQ(result.status, 104U);
  EXPECT_EQ(result.details.front().detailParams.front(), GetParam().detail);
  const std::string server = "127.0.0.2:" + std::to_string(other.port());
  EXPECT_THAT(log.texts(4), Contains(StartsWith("Request refused: its URL leads to " + server +
                                                ", which is not allowed. ")));
}

// Over plain HTTP alone: the other server speaks no TLS.
class UnlimitedEngine : public LuringManager {};

TEST_P(UnlimitedEngine, GoesWhereTheManagerSays) {
  const std::string systems = std::string(kSite) + "/vms/osversions";
  other.serves("POST", "/", hangUp());
  other.serves("GET", systems, hangUp());
  other.serves("GET", systems + "?arch=arm", hangUp());

  const EnvProxyResult result = scan();

  EXPECT_NE(result.status, 0U);
  EXPECT_GT(other.connections(), 0U);
}

constexpr const char* kLoginRefused = "internal error.The error code is 2002.";
constexpr const char* kQueryRefused = "Unsupported protocol.The error code is 2002.";

const Lure kByAddress{"ByTheSitesAddress", false, true, kLoginRefused};
const Lure kByUri{"ByTheSitesUri", false, false, kQueryRefused};

INSTANTIATE_TEST_SUITE_P(
    AllowedServers, LuringManager,
    ::testing::Values(kByAddress, kByUri,
                      Lure{"ByTheSitesAddressOverHttps", true, true, kLoginRefused},
                      Lure{"ByTheSitesUriOverHttps", true, false, kQueryRefused}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(AllowedServers, UnlimitedEngine, ::testing::Values(kByAddress, kByUri),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace kestrelvisor::test
