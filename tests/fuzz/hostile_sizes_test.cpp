// Answers that are too large, too deep, too long or point elsewhere, over real sockets: each ends
// in a documented result, and the next operation works.

#include "inventory/inventory_records.h"
#include "platform/reference/logging.h"
#include "rest/kestrelvisor_rest_api.h"
#include "tests/support/fake_manager.h"
#include "tests/support/test_headers.h"

#include <json/json.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <new>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSites = "/service/sites";
constexpr const char* kClusterDatastores =
    "/service/sites/1/datastores?scope=urn:sites:1:clusters:1&status=NORMAL";
constexpr const char* kProbe = "/service/sites/1/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1";
constexpr const char* kGoodSites = R"({"sites":[{"isSelf":true,"urn":"urn:sites:1"}]})";
constexpr std::size_t kMebibyte = 1048576;

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

// A good answer that is followed by blanks up to a size.
std::string padded(const std::string& text, std::size_t size) {
  return text + std::string(size - text.size(), ' ');
}

// A manager, and a client that does not log: some answers are worth a line for each of their
// records.
class Hostile {
 protected:
  Hostile() { setLogThreshold(kNoLog); }
  ~Hostile() { setLogThreshold(kDefaultLogThreshold); }
  Hostile(const Hostile&) = delete;
  Hostile& operator=(const Hostile&) = delete;

  bool listSites() {
    sites.clear();
    return api.getAllVRMsInfoInADomain(vrm, true, sites, error);
  }
  void expectTheNextOperationToWork() {
    VRM_INFO fresh = manager.connection();
    manager.serves("GET", kSites, ok(kGoodSites));
    error = KestrelVisorErrorMessage();
    sites.clear();
    EXPECT_TRUE(api.getAllVRMsInfoInADomain(fresh, true, sites, error));
    EXPECT_EQ(sites.size(), 1U);
  }

  FakeManager manager;
  VRM_INFO vrm = manager.connection();
  KestrelVisorErrorMessage error;
  std::list<VRM_INFO> sites;
  std::list<boost::shared_ptr<KestrelVisorObj>> objects;
  datastores_t datastores;
  std::string errorCode;
  KestrelVisor_rest_api api;

 private:
  static constexpr int kNoLog = 5;

  static void setLogThreshold(int threshold) {
    LogOptions options;
    options.threshold = threshold;
    std::string problem;
    ASSERT_TRUE(configureLogging(options, problem)) << problem;
  }
};

class HostileSize : public ::testing::Test, protected Hostile {};

// --- Bodies. ---

TEST_F(HostileSize, FourMebibytesAreReadAsAnyAnswer) {
  manager.serves("GET", kSites, ok(padded(kGoodSites, 4 * kMebibyte)));

  EXPECT_TRUE(listSites());

  EXPECT_EQ(sites.size(), 1U);
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, FourMebibytesOfNonsenseAreAnUnreadableAnswer) {
  manager.serves("GET", kSites, ok(repeated("<p>", 4 * kMebibyte / 3)));

  EXPECT_FALSE(listSites());

  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_EQ(api.tokenMap.size(), 1U);
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, AnErrorBodyOfFourMebibytesTellsItsCode) {
  manager.serves("GET", kSites, status(500, padded(R"({"errorCode":"10300010"})", 4 * kMebibyte)));

  EXPECT_FALSE(listSites());

  EXPECT_EQ(error.errorCode, "10300010");
  expectTheNextOperationToWork();
}

// As large as KESTRELVISOR_BODY_MIB says, and 8 MiB without it. The receive buffer grows by a copy
// of itself at each part, so that 64 take minutes.
TEST_F(HostileSize, AsManyMebibytesAsToldAreReadAsAnyAnswer) {
  const char* const told = std::getenv("KESTRELVISOR_BODY_MIB");
  const std::size_t mebibytes = std::strtoul(told == nullptr ? "8" : told, nullptr, 10);
  manager.serves("GET", kSites, ok(padded(kGoodSites, mebibytes * kMebibyte)));

  EXPECT_TRUE(listSites());

  EXPECT_EQ(sites.size(), 1U);
  expectTheNextOperationToWork();
}

// --- Numbers. ---

TEST_F(HostileSize, FourBillionMachinesAreNone) {
  manager.serves("GET", kProbe, ok(R"({"total":4000000000})"));

  EXPECT_TRUE(api.getVMFromVrm(vrm, "urn:sites:1:hosts:1", objects, error));

  EXPECT_THAT(objects, IsEmpty());
  EXPECT_EQ(manager.lines().size(), 2U);  // a login and one request
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, ANumberOfMachinesBeyond32BitsThrows) {
  manager.serves("GET", kProbe, ok(R"({"total":4294967296})"));

  EXPECT_THROW(api.getVMFromVrm(vrm, "urn:sites:1:hosts:1", objects, error), Json::Exception);

  expectTheNextOperationToWork();
}

TEST_F(HostileSize, DatastoresThatAreAnnouncedButNotThereAreDropped) {
  const std::string one = R"({"urn":"u","storageType":"NAS"})";
  manager.serves("GET", kClusterDatastores,
                 ok(R"({"total":200000,"datastores":[)" + one + "," + one + "," + one + "]}"));

  EXPECT_TRUE(api.getDataStoreOfCluster(vrm, "urn:sites:1:clusters:1", datastores, errorCode));

  EXPECT_EQ(datastores.size(), 3U);
  EXPECT_EQ(errorCode, "00000000");
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, OfAMillionVersionsTheLastCounts) {
  const std::string body =
      R"({"versions":[)" + repeated(R"({"version":"v1.2"},)", 999999) + R"({"version":"v6.5"}]})";
  std::string version;

  EXPECT_TRUE(api.getSupportMaxRestVersion(body, version));

  EXPECT_EQ(version, "6.5");
}

// --- Depth. ---

TEST_F(HostileSize, ADeepAnswerIsUnreadable) {
  manager.serves("GET", kSites, ok(R"({"sites":)" + repeated("[", 100000)));

  EXPECT_FALSE(listSites());

  EXPECT_EQ(error.errorCode, "00000000");
  EXPECT_EQ(api.tokenMap.size(), 1U);
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, ADeepErrorBodyTellsNoCode) {
  manager.serves("GET", kSites, status(500, repeated("{\"errorCode\":", 100000)));

  EXPECT_FALSE(listSites());

  EXPECT_EQ(error.errorCode, "00000000");
  expectTheNextOperationToWork();
}

TEST_F(HostileSize, ADeepLoginAnswerIsALoginWithoutARole) {
  manager.answers("POST", "/service/session", 1,
                  bytes("HTTP/1.1 200 OK\r\nX-Auth-Token: fake-session-token-0\r\n\r\n" +
                        repeated("[", 100000)));

  EXPECT_FALSE(listSites());

  EXPECT_EQ(error.errorCode, "1006");
  expectTheNextOperationToWork();
}

// --- Where a site says that it is. ---

class HostileUri : public HostileSize {
 protected:
  bool listClusters() { return api.getClusterFromVrm(vrm, objects, error); }
};

TEST_F(HostileUri, OfTenThousandCharactersMakesNoRequest) {
  vrm.uri = "/service/sites/" + std::string(10000, '1');

  EXPECT_FALSE(listClusters());

  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  EXPECT_EQ(error.errorCode, "00000000");
  expectTheNextOperationToWork();
}

TEST_F(HostileUri, OfTenThousandCharactersReachesTheDatastoresAndTheAction) {
  vrm.uri = "/service/sites/" + std::string(10000, '1');
  manager.serves("GET", vrm.uri + "/datastores?status=NORMAL", ok(R"({"total":0})"));
  manager.serves("DELETE", vrm.uri + "/vms/1/action/CBTbackup", ok("{}"));

  EXPECT_TRUE(api.getDataStoreOfCna(vrm, "urn:sites:1:hosts:1", datastores, errorCode));
  EXPECT_TRUE(api.disableVmCbt(vrm, vrm.uri + "/vms/1", error));

  expectTheNextOperationToWork();
}

TEST_F(HostileUri, OfADatastoreWithTenThousandCharactersCostsOnlyTheIdentifier) {
  VM_DETAIL detail;
  detail.vmConfig.disks.resize(1);
  detail.vmConfig.disks.front().datastoreUrn =
      "urn:sites:" + std::string(10000, '1') + ":datastores:1";
  detail.vmConfig.disks.front().externalUuid = "as it was";

  api.getDiskDetailInfoFromVrm(vrm, detail);

  EXPECT_EQ(detail.vmConfig.disks.front().externalUuid, "as it was");
  EXPECT_THAT(manager.lines(), ElementsAre("POST /service/session"));
  expectTheNextOperationToWork();
}

TEST_F(HostileUri, WithAnAtSignInItsPathIsAskedForAsItIs) {
  vrm.uri = "/service/sites/a@127.0.0.2:1";
  manager.serves("GET", vrm.uri + "/clusters", ok(R"({"clusters":[]})"));

  EXPECT_TRUE(listClusters());

  expectTheNextOperationToWork();
}

TEST_F(HostileUri, ThatNamesAnotherServerFailsWhenNobodyListensThere) {
  vrm.uri = "@127.0.0.2:" + std::to_string(unusedPort("127.0.0.2")) + "/service/sites/1";

  EXPECT_FALSE(listClusters());

  EXPECT_EQ(error.errorCode, "2000");
  expectTheNextOperationToWork();
}

TEST_F(HostileUri, WithALineEndForgesNoRequest) {
  for (const char* end :
       {"\r", "\n", "\r\nX-Forged: 1", "\r\n\r\nDELETE /service/sites/1 HTTP/1.1"}) {
    vrm.uri = std::string("/service/sites/1") + end;
    error = KestrelVisorErrorMessage();

    EXPECT_FALSE(listClusters());
    EXPECT_EQ(error.errorCode, "2002");
  }
  for (const std::string& line : manager.lines()) {
    EXPECT_THAT(line, ::testing::AnyOf("POST /service/session", "DELETE /service/session"));
  }
  expectTheNextOperationToWork();
}

TEST_F(HostileUri, EndsAtItsFirstNul) {
  vrm.uri = std::string("/service/sites/1\0/more", 22);
  manager.serves("GET", "/service/sites/1", ok(R"({"clusters":[],"total":0})"));

  EXPECT_TRUE(listClusters());
  EXPECT_TRUE(api.getDataStoreOfCna(vrm, "urn:sites:1:hosts:1", datastores, errorCode));

  expectTheNextOperationToWork();
}

// --- Memory. ---

#if !defined(__SANITIZE_ADDRESS__)

// The address space that the process has now, in bytes.
rlim_t addressSpace() {
  std::size_t pages = 0;
  std::ifstream file("/proc/self/statm");
  file >> pages;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

void limitMemory(rlim_t more) {
  const rlim_t size = addressSpace() + more;
  const rlimit limit{size, size};
  ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
}

// What happens in a process of its own, so that the limit ends with it.
class FourBillionDatastores : Hostile {
 public:
  void areAskedFor() {
    expectTheNextOperationToWork();  // what the first one allocates for good does not count
    manager.serves("GET", kClusterDatastores, ok(R"({"total":4000000000,"datastores":[]})"));
    limitMemory(128 * kMebibyte);
    bool listed = true;
    try {
      listed = api.getDataStoreOfCluster(vrm, "urn:sites:1:clusters:1", datastores, errorCode);
    } catch (const std::bad_alloc&) {
      listed = false;
    }
    EXPECT_FALSE(listed);
    EXPECT_THAT(datastores, IsEmpty());
    expectTheNextOperationToWork();
  }
};

TEST(HostileNumber, OfDatastoresEndsWithTheMemoryAndTheProcessLives) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    FourBillionDatastores().areAskedFor();
    _exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), EXIT_SUCCESS);
}

#endif

}  // namespace
}  // namespace kestrelvisor::test
