#include "tests/engine/engine_fixture.h"

#include <iostream>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

constexpr std::uint64_t kDetail = 20063;
constexpr std::uint64_t kFailureDetail = 20111;

// A scan prints its reply to standard output; here the text is kept.
class PrintedText {
 public:
  PrintedText() : before_(std::cout.rdbuf(text_.rdbuf())) {}
  ~PrintedText() { std::cout.rdbuf(before_); }
  PrintedText(const PrintedText&) = delete;
  PrintedText& operator=(const PrintedText&) = delete;
  std::string str() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::streambuf* before_;
};

class EngineScan : public EngineTest {
 protected:
  EnvProxyResult scan(const EnvironmentPath& path) {
    return engine.scanEnvironment(reply, path, description);
  }
  void expectReplyUntouched() const {
    EXPECT_EQ(reply.ByteSizeLong(), 0U);
    EXPECT_THAT(printed.str(), IsEmpty());
  }
  PrintedText printed;
  ScanEnvironmentReply reply;
};

TEST_F(EngineScan, SucceedsWithTheCountsOfItsRecords) {
  hasOneHost();

  const EnvProxyResult result = scan(manager.path());

  EXPECT_THAT(result, HasDetail(0, kDetail, (Parameters{"0", "2", ""})));
  EXPECT_EQ(reply.non_vm_records_size(), 2);
  EXPECT_TRUE(log.has(1, "Scan Environment success version is:6.5"));
  EXPECT_THAT(log.texts(4), IsEmpty());
}

TEST_F(EngineScan, LeavesTheLastRestTextInTheDescription) {
  hasOneHost();

  scan(manager.path());

  EXPECT_EQ(description, "internal error.");
}

TEST_F(EngineScan, EachOneAddsItsVersionToTheReply) {
  hasOneHost();
  scan(manager.path());
  ASSERT_THAT(reply.environment_version(), ElementsAre("6.5"));
  manager.serves("GET", kVersions, ok(R"({"versions":[{"version":"v6.0"}]})"));

  scan(manager.path());

  EXPECT_THAT(reply.environment_version(), ElementsAre("6.5", "6.0"));
}

TEST_F(EngineScan, PrintsItsReply) {
  hasOneHost();

  scan(manager.path());

  EXPECT_THAT(printed.str(), ::testing::HasSubstr("/service/sites/1/hosts/1"));
}

TEST_F(EngineScan, FailsWhenNobodyListens) {
  EnvironmentPath path = manager.path();
  path.set_port(0, unusedPort(manager.address()));

  const EnvProxyResult result = scan(path);

  EXPECT_THAT(
      result,
      HasDetail(104, kFailureDetail,
                (Parameters{"Couldn't connect to server.The error code is 2000.", "", ""})));
  EXPECT_TRUE(log.has(4, " Get VRM information failed !"));
  EXPECT_EQ(description, "as it was");
  expectReplyUntouched();
}

TEST_F(EngineScan, ReadsAnEmptyRequestAsEmptyTextsAndZeros) {
  EXPECT_EQ(scan(EnvironmentPath()).status, 104);

  EXPECT_TRUE(log.has(0, "URL=https://:0/service/versions"));
  EXPECT_EQ(description, "as it was");
}

TEST_F(EngineScan, FailsWithTheManagersWordsWhenAQueryIsRefused) {
  hasOneHost();
  manager.serves("GET", "/service/sites/1/clusters", refusal(500, "10300001", "no clusters today"));

  const EnvProxyResult result = scan(manager.path());

  EXPECT_THAT(result,
              HasDetail(104, kFailureDetail,
                        (Parameters{"no clusters todayThe error code is 10300001.", "", ""})));
  EXPECT_TRUE(log.has(4, " Scan Environment failed !"));
  EXPECT_EQ(description, "no clusters today");
  expectReplyUntouched();
}

TEST_F(EngineScan, WithoutACodeFailsWithTheDefaults) {
  hasOneHost();
  manager.serves("GET", "/service/sites/1/clusters", ok("{}"));

  const EnvProxyResult result = scan(manager.path());

  EXPECT_THAT(result,
              HasDetail(104, kFailureDetail,
                        (Parameters{"internal error.The error code is 00000000.", "", ""})));
  EXPECT_EQ(description, "internal error.");
}

TEST_F(EngineScan, AsksTheBareServiceWithoutAnOwnSite) {
  manager.serves("GET", kSites, ok(R"({"sites":[]})"));
  manager.serves("GET", "/vms/osversions", refusal(404, "404"));
  manager.serves("GET", "/vms/osversions?arch=arm", refusal(404, "404"));

  EXPECT_EQ(scan(manager.path()).status, 104);

  EXPECT_THAT(manager.lines(),
              IsSupersetOf({"GET /vms/osversions", "GET /vms/osversions?arch=arm"}));
}

}  // namespace
}  // namespace kestrelvisor::test
