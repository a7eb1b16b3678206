#include "kestrelctl/diagnosis/checks.h"

#include "kestrelctl/diagnosis/examination.h"
#include "tests/support/test_headers.h"

#include <openssl/x509_vfy.h>

#include <set>

namespace kestrelvisor::ctl {
namespace {

using std::chrono::hours;
using std::chrono::seconds;
using ::testing::HasSubstr;

const Certificate::Time kNow{seconds(1'800'000'000)};

Certificate certificateFor(hours since, hours until) {
  Certificate certificate;
  certificate.notBefore = kNow - since;
  certificate.notAfter = kNow + until;
  return certificate;
}

// Of certificates that are all sent. problem: of the last one, as OpenSSL finds it.
Finding findingOf(std::vector<Certificate> path, int problem = X509_V_OK, bool strict = true) {
  Inspection inspection;
  inspection.path = std::move(path);
  for (Certificate& certificate : inspection.path) {
    certificate.fingerprint = std::to_string(inspection.chain.size());
    inspection.chain.push_back(certificate);
  }
  if (problem != X509_V_OK) {
    inspection.problems.push_back({problem, inspection.path.size() - 1, "of time"});
  }
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

TEST(DaysLeft, AreNotThoseOfWhatIsSentBesideThePath) {
  Certificate leaf = certificateFor(kDay, 90 * kDay);
  leaf.fingerprint = "leaf";
  Certificate old = certificateFor(90 * kDay, -kDay);
  old.fingerprint = "old";
  Inspection inspection;
  inspection.path = {leaf};
  inspection.chain = {leaf, old};

  const Finding finding = findingOfValidity(inspection, kNow, true);

  EXPECT_EQ(finding.verdict, Verdict::pass);
  EXPECT_THAT(finding.text, HasSubstr("90 days left: certificate 1 ends on 2027-04-"));
}

TEST(DaysLeft, OfAnExpiredCertificateAreAFailure) {
  const Finding finding =
      findingOf({certificateFor(9 * kDay, 9 * kDay), certificateFor(9 * kDay, -kDay)},
                X509_V_ERR_CERT_HAS_EXPIRED);

  EXPECT_EQ(finding.verdict, Verdict::fail);
  EXPECT_EQ(finding.exitCode, ExitCode::refusedCertificate);
  EXPECT_EQ(finding.text, "certificate 2 expired on 2027-01-14; here it is 2027-01-15");
}

TEST(DaysLeft, OfACertificateOfTheFutureAreAFailure) {
  EXPECT_EQ(findingOf({certificateFor(-kDay, 9 * kDay)}, X509_V_ERR_CERT_NOT_YET_VALID).text,
            "certificate 1 is not valid before 2027-01-16; here it is 2027-01-15");
}

TEST(DaysLeft, ThatAreUsedUpAreAWarningWhereTheUserLetsThemPass) {
  const Finding finding =
      findingOf({certificateFor(9 * kDay, -kDay)}, X509_V_ERR_CERT_HAS_EXPIRED, false);

  EXPECT_EQ(finding.verdict, Verdict::warn);
}

TEST(DaysLeft, AreNotTriedOnAnEndThatCannotBeRead) {
  Certificate certificate = certificateFor(kDay, kDay);
  certificate.notAfter.reset();

  EXPECT_EQ(findingOf({certificate}).verdict, Verdict::skip);
}

TEST(Check, WithoutTimeFailsAndIsSkippedBehindAnotherFailure) {
  OperationRequest request;
  request.connection.manager = readManagerAddress("https://127.0.0.1:1");
  request.timeLimit = std::chrono::milliseconds(0);
  Examination examination({request, {}, {}});
  for (const Check& check : checks()) {
    if (std::string(check.key) == "ports") continue;
    const bool asksNobody = std::string(check.key) == "proxies";

    const Finding first = ctl::findingOf(check, examination, false);
    const Finding later = ctl::findingOf(check, examination, true);

    EXPECT_EQ(first.verdict, asksNobody ? Verdict::pass : Verdict::fail) << check.key;
    EXPECT_EQ(later.verdict, asksNobody ? Verdict::pass : Verdict::skip) << check.key;
    if (asksNobody) continue;
    EXPECT_EQ(first.exitCode, ExitCode::timeLimit);
    EXPECT_NE(first.remedy, "");
  }
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
  EXPECT_EQ(findingOfClock(hours(47)).text, "the manager's clock is 47h ahead of this machine's");
  EXPECT_EQ(findingOfClock(hours(-27252)).text,
            "the manager's clock is 1,135 days behind this machine's");
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
