// Managers that change under an operation: sessions, roles, addresses, inventories.

#include "tests/integration/fault_table/table_fixture.h"

#include <algorithm>

namespace kestrelvisor::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Lines = std::vector<std::string>;

const RequestKind& kindOf(const SiteRequest& request) {
  return *std::ranges::find(kRequestKinds, request, &RequestKind::request);
}

// Rules for one request: how often, and what happens.
std::string ruleFor(const SiteRequest& request, const std::string& words) {
  return std::string("method=") + request.method + " path=" + request.target + " " + words;
}

class ManagerChange : public TableTest, public ::testing::WithParamInterface<bool> {
 protected:
  ManagerChange() : TableTest(GetParam()) { resetManager(); }
  ~ManagerChange() override {
    EXPECT_THAT(simulator().unfiredFaults(), IsEmpty());
    simulator().clearFaults();
  }

  // What a scan asks when nothing goes wrong, up to and with its nth request, and from there on.
  Lines scanUpTo(std::size_t count) const {
    Lines lines = cleanScan().requests;
    lines.resize(count);
    return lines;
  }
  Lines scanFrom(std::size_t count) const {
    const Lines lines = cleanScan().requests;
    return {lines.begin() + static_cast<std::ptrdiff_t>(count), lines.end()};
  }
  Course cleanScan() const { return expectedCourse({&kindOf(kClusters), nullptr, 0, 0}, site()); }

  void expectNextGood(Operation operation) {
    EXPECT_THAT(simulator().unfiredFaults(), IsEmpty());
    simulator().clearFaults();
    EXPECT_EQ(operate(engine, operation).status, 0);
  }

  KestrelVisorEngine engine;
};

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

constexpr std::size_t kSharedLogin = 4;  // the scan's second login is its fourth request

TEST_P(ManagerChange, ExpiredSessionsCostOneLoginAndOneRepeatWhereverTheyExpire) {
  const std::size_t all = cleanScan().requests.size();
  for (std::size_t good = 0; kSharedLogin + good < all; ++good) {
    SCOPED_TRACE(good);
    resetManager();
    KestrelVisorEngine fresh;
    const std::string further = std::to_string(good);
    simulator().addFault(ruleFor(kLogin, "nth=2 expire-after=" + further));

    const Course scan = operate(fresh, Operation::scan);

    const std::size_t struck = kSharedLogin + good;
    const Lines login{kLogin.line()};
    EXPECT_EQ(scan.requests, scanUpTo(struck + 1) + login + scanFrom(struck));
    EXPECT_EQ(scan.status, 0);
    EXPECT_EQ(scan.detail, cleanScan().detail);
    EXPECT_EQ(scan.sharedSessions, 1U);
    EXPECT_EQ(simulator().openSessions(), 2U);
  }
}

TEST_P(ManagerChange, KilledSessionsCostOneLoginAndOneRepeat) {
  simulator().addFault(ruleFor(kClusters, "count=1 kill-sessions"));

  const Course scan = operate(engine, Operation::scan);

  EXPECT_EQ(scan.status, 0);
  EXPECT_EQ(std::ranges::count(scan.requests, kLogin.line()), 3);
  EXPECT_EQ(scan.requests.size(), cleanScan().requests.size() + 2);
}

TEST_P(ManagerChange, WrongTokenCostsOneLoginAndOneRepeat) {
  simulator().addFault(ruleFor(kLogin, "count=1 set-header=\"X-Auth-Token: wrong\""));

  const Course verification = operate(engine, Operation::verify);

  EXPECT_EQ(verification.status, 0);
  EXPECT_THAT(verification.requests,
              ElementsAre(kVersions.line(), kLogin.line(), kSites.line(), kLogin.line(),
                          kSites.line(), kLogin.line(), kSites.line()));
  EXPECT_EQ(verification.ownSessions, 1U);
  EXPECT_THAT(verification.lines, ::testing::Contains(HasSubstr("error code is 10000002(")));
  expectNextGood(Operation::verify);
}

TEST_P(ManagerChange, SecondWrongTokenFailsTheVerification) {
  simulator().addFault(ruleFor(kLogin, "count=2 set-header=\"X-Auth-Token: wrong\""));

  const Course verification = operate(engine, Operation::verify);

  EXPECT_EQ(verification.status, 107);
  EXPECT_THAT(verification.detail[1], HasSubstr(" The error code is 10000002."));
  EXPECT_THAT(verification.requests, ElementsAre(kVersions.line(), kLogin.line(), kSites.line(),
                                                 kLogin.line(), kSites.line(), kLogout.line()));
  EXPECT_EQ(verification.ownSessions, 0U);
  expectNextGood(Operation::verify);
}

TEST_P(ManagerChange, RoleTakenAwayRefusesTheNextLogin) {
  simulator().addFault(ruleFor(kVersions, "count=1 take-role=administrator"));

  const Course verification = operate(engine, Operation::verify);

  EXPECT_EQ(verification.status, 107);
  EXPECT_THAT(verification.detail,
              ElementsAre("20086",
                          "The user does not have administrator privileges. The error code is "
                          "1006.",
                          "", ""));
  EXPECT_THAT(verification.requests, ElementsAre(kVersions.line(), kLogin.line()));
  EXPECT_EQ(verification.ownSessions, 0U);
}

TEST_P(ManagerChange, RoleTakenAwayWithTheSessionsEndsTheScan) {
  simulator().addFault(ruleFor(kClusters, "count=1 kill-sessions take-role=administrator"));

  const Course scan = operate(engine, Operation::scan);

  EXPECT_EQ(scan.status, 104);
  EXPECT_THAT(scan.detail[1], HasSubstr("The error code is 1006."));
  EXPECT_EQ(scan.requests.back(), kLogout.line());  // of the token that the query began with
  EXPECT_EQ(scan.sharedSessions, 0U);
  EXPECT_THAT(scan.lines, ::testing::Contains("4 checkLoginAgainAndCert failed"));
}

// A re-login that worked leaves its reason in the error record, and a later refusal without a code
// of its own is taken for one: a login and a repeat.
class StaleSessionCode : public ManagerChange {
 protected:
  StaleSessionCode() {
    simulator().addFault(ruleFor(kOsVersions, "count=1 status=401 code=10000002 text=gone"));
  }

  // The requests of a scan up to the refused list of clusters and the login for its repeat.
  Lines upToTheRepeat() const {
    const Lines again{kLogin.line(), kOsVersions.line()};
    const Lines further{kOsVersionsOnArm.line(), kClusters.line(), kLogin.line()};
    return scanUpTo(kSharedLogin + 1) + again + further;
  }
};

TEST_P(StaleSessionCode, RepeatsALaterRefusalWithoutACode) {
  simulator().addFault(ruleFor(kClusters, "count=1 status=500 body={}"));

  const Course scan = operate(engine, Operation::scan);

  EXPECT_EQ(scan.requests, upToTheRepeat() + scanFrom(kSharedLogin + 2));
  EXPECT_EQ(scan.status, 0);
  EXPECT_EQ(scan.description, "gone");
  expectNextGood(Operation::scan);
}

TEST_P(StaleSessionCode, IsToldWhenTheRepeatFailsToo) {
  simulator().addFault(ruleFor(kClusters, "count=2 status=500 body={}"));

  const Course scan = operate(engine, Operation::scan);

  const Lines end{kClusters.line(), kLogout.line()};
  EXPECT_EQ(scan.requests, upToTheRepeat() + end);
  EXPECT_THAT(scan.detail, ElementsAre("20111", "goneThe error code is 10000002.", "", ""));
  EXPECT_EQ(scan.sharedSessions, 0U);
  expectNextGood(Operation::scan);
}

TEST_P(ManagerChange, SiteAddressWhereNobodyListensFailsTheVerification) {
  simulator().addFault(ruleFor(kSites, "count=1 site-address=127.0.0.9"));

  const Course verification = operate(engine, Operation::verify);

  EXPECT_EQ(verification.status, 107);
  EXPECT_EQ(verification.detail[1],
            "Can not connect to the specified KestrelVisor VRM. The error code is 2000.");
  EXPECT_THAT(verification.requests, ElementsAre(kVersions.line(), kLogin.line(), kSites.line()));
  EXPECT_EQ(verification.ownSessions, 1U);
  EXPECT_EQ(verification.sharedSessions, 0U);
}

// A host with machines for two pages, none of which has a disk.
class ChangeBetweenPages : public ManagerChange {
 protected:
  static constexpr std::size_t kMachines = 150;

  ChangeBetweenPages() {
    simulator().changeInventory([](vrmsim::Inventory& inventory) {
      inventory.vms[0].disks.clear();
      inventory.vms.resize(kMachines, inventory.vms[0]);
      for (std::size_t i = 0; i < kMachines; ++i) {
        inventory.vms[i].id = "v" + std::to_string(i + 1);
        inventory.vms[i].uuid = "00000000-0000-4000-8000-" + std::to_string(100000000000 + i);
      }
    });
  }

  // A scan whose second page comes from a manager that has changed.
  Course scanWith(const std::string& change) {
    simulator().addFault("path=*/vms?*offset=100* count=1 " + change);
    return operate(engine, Operation::scan);
  }
};

TEST_P(ChangeBetweenPages, ThatRemovesAMachineLosesAnother) {
  const Course scan = scanWith("remove-vm=urn:sites:S1:vms:v1");

  EXPECT_EQ(scan.status, 0);
  EXPECT_THAT(scan.detail, ElementsAre("20063", "149", "3", ""));
  EXPECT_THAT(scan.requests.back(), HasSubstr("offset=100"));
}

TEST_P(ChangeBetweenPages, ThatAddsMachinesIsTakenAsItComes) {
  const Course scan = scanWith("add-vms=10");

  EXPECT_EQ(scan.status, 0);
  EXPECT_THAT(scan.detail, ElementsAre("20063", "160", "3", ""));
}

const auto nameOfTransport = [](const auto& row) { return row.param ? "Https" : "Http"; };

INSTANTIATE_TEST_SUITE_P(Over, ManagerChange, ::testing::Bool(), nameOfTransport);
INSTANTIATE_TEST_SUITE_P(Over, StaleSessionCode, ::testing::Bool(), nameOfTransport);
INSTANTIATE_TEST_SUITE_P(Over, ChangeBetweenPages, ::testing::Bool(), nameOfTransport);

}  // namespace
}  // namespace kestrelvisor::test
