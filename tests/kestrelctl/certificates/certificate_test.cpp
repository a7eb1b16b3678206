#include "kestrelctl/certificates/certificate.h"

#include "kestrelctl/certificates/certificate_views.h"
#include "kestrelctl/certificates/inspection.h"
#include "tests/kestrelctl/fixture.h"

namespace kestrelvisor::ctl {
namespace {

using std::chrono::seconds;
using test::managerOptions;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;
using vrmsim::Simulator;

Inspection inspectionOf(const Simulator& manager) {
  return inspect({readManagerAddress(manager.url()), manager.certificatePem(), {}, seconds(20)});
}

TEST(Inspection, ReadsTheManagersCertificate) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspectionOf(manager);

  ASSERT_EQ(inspection.chain.size(), 1U);
  const Certificate& own = inspection.chain.front();
  EXPECT_EQ(own.pem, manager.certificatePem());
  EXPECT_EQ(own.subject, own.issuer);
  EXPECT_THAT(own.names, AllOf(Contains("127.0.0.1"), Contains("::1"), Contains("localhost")));
  EXPECT_THAT(own.pin, MatchesRegex("sha256//[A-Za-z0-9+/]{43}="));
  EXPECT_THAT(own.fingerprint, MatchesRegex("[0-9a-f]{64}"));
  EXPECT_THAT(own.key, HasSubstr(" bits"));
  EXPECT_LT(own.notBefore, own.notAfter);
}

TEST(Inspection, SendsNoRequest) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspectionOf(manager);

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.handshaken);
  EXPECT_THAT(inspection.protocol, StartsWith("TLSv1."));
  EXPECT_EQ(inspection.problem, "");
  EXPECT_EQ(inspection.address, "127.0.0.1:" + std::to_string(manager.port()));
  EXPECT_TRUE(inspection.namesHost);
  EXPECT_TRUE(inspection.problems.empty());
  EXPECT_EQ(manager.handshakes(), 1U);
  EXPECT_TRUE(manager.journal().empty());
}

TEST(Inspection, OfAnotherNameFindsThatTheCertificateIsNotForIt) {
  vrmsim::SimulatorOptions options = managerOptions(true);
  options.certificate = "wrong-address";
  const Simulator manager(options);

  const Inspection inspection = inspectionOf(manager);

  EXPECT_FALSE(inspection.namesHost);
  EXPECT_EQ(inspection.problemOfTrust(), nullptr);
}

TEST(Inspection, OfAnExpiredCertificateFindsAProblemOfTimeAlone) {
  vrmsim::SimulatorOptions options = managerOptions(true);
  options.certificate = "expired";
  const Simulator manager(options);

  const Inspection inspection = inspectionOf(manager);

  ASSERT_NE(inspection.problemOfTime(), nullptr);
  EXPECT_EQ(inspection.problemOfTime()->depth, 0U);
  EXPECT_EQ(inspection.problemOfTrust(), nullptr);
  EXPECT_TRUE(inspection.handshaken);
}

TEST(Inspection, TrustsTheSystemAloneUnlessTold) {
  const Simulator manager(managerOptions(true));

  const Inspection inspection = inspect({readManagerAddress(manager.url()), {}, {}, seconds(20)});

  ASSERT_NE(inspection.problemOfTrust(), nullptr);
  EXPECT_THAT(inspection.problemOfTrust()->words, HasSubstr("self-signed"));
}

TEST(Inspection, OfPlainHttpConnectsAndNoMore) {
  const Simulator manager(managerOptions());

  const Inspection inspection = inspectionOf(manager);

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.chain.empty());
  EXPECT_FALSE(inspection.handshaken);
}

TEST(Inspection, KeepsToItsTimeLimit) {
  Simulator manager(managerOptions(true));
  manager.addFault("connection=1 tls=stall");

  const Inspection inspection = inspect({readManagerAddress(manager.url()),
                                         manager.certificatePem(),
                                         {},
                                         std::chrono::milliseconds(200)});

  EXPECT_TRUE(inspection.connected);
  EXPECT_TRUE(inspection.timedOut);
  EXPECT_TRUE(inspection.chain.empty());
}

TEST(Days, AreWholeOnes) {
  const Certificate::Time now = std::chrono::system_clock::from_time_t(0);
  const std::chrono::hours day(24);

  EXPECT_EQ(daysUntil(now + 2 * day, now), 2);
  EXPECT_EQ(daysUntil(now + 2 * day - seconds(1), now), 1);
  EXPECT_EQ(daysUntil(now, now), 0);
  EXPECT_EQ(daysUntil(now - seconds(1), now), -1);
}

TEST(TimeText, IsOfIso8601InUtc) {
  EXPECT_EQ(timeText(std::chrono::system_clock::from_time_t(1'800'000'000)),
            "2027-01-15T08:00:00Z");
}

}  // namespace
}  // namespace kestrelvisor::ctl
