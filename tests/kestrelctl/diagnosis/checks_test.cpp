#include "kestrelctl/diagnosis/checks.h"

#include "tests/support/test_headers.h"

#include <set>

namespace kestrelvisor::ctl {
namespace {

using std::chrono::hours;
using std::chrono::seconds;
using ::testing::HasSubstr;

const Certificate::Time kNow = std::chrono::system_clock::from_time_t(1'800'000'000);

Certificate certificateFor(hours since, hours until) {
  Certificate certificate;
  certificate.notBefore = kNow - since;
  certificate.notAfter = kNow + until;
  return certificate;
}

Finding findingOf(std::vector<Certificate> chain, bool strict = true) {
  Inspection inspection;
  inspection.chain = std::move(chain);
  return findingOfValidity(inspection, kNow, strict);
}

constexpr hours kDay(24);

TEST(DaysLeft, OfThirtyDaysAndMoreAreGood) {
  EXPECT_EQ(findingOf({certificateFor(kDay, 30 * kDay)}).verdict, Verdict::pass);
  EXPECT_THAT(findingOf({certificateFor(kDay, 400 * kDay)}).text, HasSubstr("400 days left"));
}

TEST(DaysLeft, OfLessThanThirtyDaysAreAWarning) {
  const Finding finding = findingOf({certificateFor(kDay, 30 * kDay - hours(1))});

  EXPECT_EQ(finding.verdict, Verdict::warn);
  EXPECT_THAT(finding.text, HasSubstr("29 days left"));
  EXPECT_NE(finding.remedy, "");
}

TEST(DaysLeft, AreThoseOfTheFirstCertificateToEnd) {
  const Finding finding =
      findingOf({certificateFor(kDay, 90 * kDay), certificateFor(kDay, 5 * kDay)});

  EXPECT_EQ(finding.verdict, Verdict::warn);
  EXPECT_THAT(finding.text, HasSubstr("5 days left: certificate 2 ends on 2027-01-"));
}

TEST(DaysLeft, OfAnExpiredCertificateAreAFailure) {
  const Finding finding = findingOf({certificateFor(9 * kDay, -kDay)});

  EXPECT_EQ(finding.verdict, Verdict::fail);
  EXPECT_EQ(finding.exitCode, ExitCode::refusedCertificate);
  EXPECT_THAT(finding.text, HasSubstr("certificate 1 expired on "));
}

TEST(DaysLeft, OfACertificateOfTheFutureAreAFailure) {
  EXPECT_THAT(findingOf({certificateFor(-kDay, 9 * kDay)}).text, HasSubstr("is not valid before"));
}

TEST(DaysLeft, ThatAreUsedUpAreAWarningWhereTheUserLetsThemPass) {
  EXPECT_EQ(findingOf({certificateFor(9 * kDay, -kDay)}, false).verdict, Verdict::warn);
}

TEST(Clock, AgreesWithinAMinute) {
  for (const int ahead : {-60, -1, 0, 60}) {
    EXPECT_EQ(findingOfClock(seconds(ahead)).verdict, Verdict::pass) << ahead;
  }
}

TEST(Clock, ThatGoesOtherwiseIsAWarning) {
  EXPECT_EQ(findingOfClock(seconds(61)).text,
            "the manager's clock is 1m1s ahead of this machine's");
  EXPECT_EQ(findingOfClock(seconds(-7200)).text, "the manager's clock is 2h behind this machine's");
  EXPECT_EQ(findingOfClock(seconds(61)).verdict, Verdict::warn);
}

TEST(LocalPortsLeft, AreGoodWhenThereAreMany) {
  const Finding finding = findingOfPorts({28232, 32});

  EXPECT_EQ(finding.verdict, Verdict::pass);
  EXPECT_EQ(finding.text, "28,200 of 28,232 are free");
}

TEST(LocalPortsLeft, AreAWarningBelowATenth) {
  EXPECT_EQ(findingOfPorts({20000, 18000}).verdict, Verdict::pass);
  EXPECT_EQ(findingOfPorts({20000, 18001}).verdict, Verdict::warn);
}

TEST(LocalPortsLeft, AreAFailureBelowAHundred) {
  EXPECT_EQ(findingOfPorts({28232, 28133}).verdict, Verdict::fail);
  EXPECT_EQ(findingOfPorts({28232, 28132}).verdict, Verdict::warn);
  EXPECT_EQ(findingOfPorts({10, 20}).text, "0 of 10 are free");
}

TEST(Checks, HaveNamesOfTheirOwn) {
  std::set<std::string> keys;
  std::set<std::string> titles;
  for (const Check& check : checks()) {
    keys.insert(check.key);
    titles.insert(check.title);
    EXPECT_LE(std::string(check.title).size(), 12U);
  }

  EXPECT_EQ(keys.size(), 13U);
  EXPECT_EQ(titles.size(), 13U);
}

}  // namespace
}  // namespace kestrelvisor::ctl
