#include "platform/reference/configuration.h"
#include "tests/integration/integration_fixture.h"

namespace kestrelvisor::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kRefused = "SSL peer certificate or SSH remote key was not OK.";

// A manager with another certificate than the one that the host trusts.
class WrongCertificate : public ::testing::Test {
 protected:
  WrongCertificate() : path(pathTo(simulator)) {
    const Simulator other(simulatedSite(true));
    path.set_cert(0, other.certificatePem());
    resetConfiguration();
  }
  ~WrongCertificate() override { resetConfiguration(); }

  LogCapture log;
  FreshSessions fresh;
  Simulator simulator{simulatedSite(true)};
  KestrelVisorEngine engine;
  EnvironmentPath path;
  std::string description;
  std::string guid;
};

TEST_F(WrongCertificate, IsRefusedBeforeAnyRequest) {
  const EnvProxyResult result = engine.VerifyCredentials(path, description, guid);

  EXPECT_EQ(result.status, 107);
  ASSERT_THAT(result.details, SizeIs(1));
  EXPECT_THAT(result.details.front().detailParams,
              ElementsAre(std::string(kRefused) + " The error code is 2002.", "", ""));
  EXPECT_THAT(simulator.journal(), IsEmpty());
  EXPECT_THAT(log.texts(3), IsEmpty());
}

TEST_F(WrongCertificate, IsRefusedByEveryValueOfTheSwitchButZero) {
  for (const char* value : {"1", "2", "-1", "off"}) {
    setConfigurationValue("General", "CertAuthSwitch", value);

    EXPECT_EQ(engine.VerifyCredentials(path, description, guid).status, 107) << value;
  }
  EXPECT_THAT(simulator.journal(), IsEmpty());
}

TEST_F(WrongCertificate, IsPassedOverWhenTheSwitchAllows) {
  setConfigurationValue("General", "CertAuthSwitch", "0");

  const EnvProxyResult result = engine.VerifyCredentials(path, description, guid);

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(description, "OK");
  const std::size_t exchanges = 5;
  EXPECT_THAT(simulator.journal(), SizeIs(exchanges));
  const auto warnings = log.withText(std::string("peer cert check failed: ") + kRefused);
  EXPECT_THAT(warnings, SizeIs(exchanges));
  EXPECT_THAT(warnings, Each(::testing::Field(&LogRecord::level, 3)));
}

TEST_F(WrongCertificate, OfTheSystemIsRefusedToo) {
  path.set_cert(0, "");  // the system's trust store does not know the simulator

  EXPECT_EQ(engine.VerifyCredentials(path, description, guid).status, 107);

  EXPECT_THAT(simulator.journal(), IsEmpty());
}

}  // namespace
}  // namespace kestrelvisor::test
