#include "kestrelctl/watch/scan_watch.h"

#include "kestrelctl/watch/rounded.h"
#include "kestrelctl/watch/scan_warnings.h"

#include <algorithm>
#include <charconv>
#include <exception>

namespace kestrelvisor::ctl {
namespace {

// Stands between an answer and the line that tells what it was for.
constexpr std::string_view kParser = "KestrelVisor_rest_api::getJSonObjFromJsonStr()";

}  // namespace

void ScanWatch::take(const LogRecord& record) {
  try {
    read(record);
  } catch (const std::exception&) {
    // No memory: this record is lost to the accounts, where its machines stay unexplained.
  }
}

void ScanWatch::read(const LogRecord& record) {
  if (record.level < kLowestLevel || record.function == kParser) return;
  settleAnswer();
  if (const auto answer = answerIn(record.text)) return takeAnswer(*answer);
  readLine(record);
}

void ScanWatch::readLine(const LogRecord& record) {
  struct Line {
    std::string_view function;
    std::string_view start;
    void (ScanWatch::*take)(std::string_view rest);
  };
  static constexpr Line kLines[] = {
      {"KestrelVisor_rest_api::checkLoginAgainAndCert()", "Success to Login",
       &ScanWatch::countLogin},
      {"KestrelVisor_rest_api::getOSListfromVrmByArch()", "getOSListFromVrm: filterStr",
       &ScanWatch::takeSites},
      {"KestrelVisor_rest_api::getClusterFromVrm()", "Cluster Count=", &ScanWatch::takeClusters},
      {"KestrelVisor_rest_api::getCnaFromVrm()", "cna Count = ", &ScanWatch::takeHosts},
      {"KestrelVisor_rest_api::getVMFromVrm()", "the all vm count = ", &ScanWatch::takeCount},
      {"KestrelVisor_rest_api::getVmInfoFromVrmSub()",
       "getAllVMInfo: Vm Count = ", &ScanWatch::takePage},
      {"KestrelVisor_rest_api::getVMFromVrm()", "get all the vm successfully",
       &ScanWatch::endMachines},
      {"KestrelVisor_rest_api::getDiskDetailInfoFromVrm()", "Failed to get vm jsonObj",
       &ScanWatch::skipDisks},
      {"KestrelVisor_rest_api::getTreeViewVMInfoFromVrm()", "The uuid[", &ScanWatch::refuseUuid},
      {"KestrelVisorPublic::CreateVMAndDiskTable()", "Failed to get VM[",
       &ScanWatch::refuseMachine},
  };
  for (const Line& line : kLines) {
    if (record.function != line.function || !record.text.starts_with(line.start)) continue;
    return (this->*line.take)(std::string_view(record.text).substr(line.start.size()));
  }
}

void ScanWatch::takeAnswer(std::string_view answer) {
  isUnsettled_ = true;
  answer_ = answer;
}

void ScanWatch::settleAnswer() {
  if (!isUnsettled_) return;
  isUnsettled_ = false;
  ++exchanges_;
  plan_.countExchange();
}

// No answer is told for a login.
void ScanWatch::countLogin(std::string_view) { ++exchanges_; }

// The guest systems are asked for right behind the sites.
void ScanWatch::takeSites(std::string_view) {
  if (!hasOwnSite_) hasOwnSite_ = tellsOwnSite(answer_);
}

void ScanWatch::takeClusters(std::string_view) {
  hasClusters_ = true;
  plan_.addClusters(placesIn(answer_, "clusters"));
}

void ScanWatch::takeHosts(std::string_view) { plan_.addHosts(placesIn(answer_, "hosts")); }

void ScanWatch::takeCount(std::string_view number) {
  std::int64_t total = 0;
  std::from_chars(number.data(), number.data() + number.size(), total);
  plan_.beginMachines(static_cast<std::uint64_t>(std::max<std::int64_t>(total, 0)));
}

void ScanWatch::takePage(std::string_view) {
  const auto page = machinesIn(answer_);
  if (!page) return;
  listings_ += page->size();
  for (const ToldMachine& machine : *page) {
    if (plan_.isHere(machine)) {
      if (machines_.tellInPlace(machine)) ++inPlace_;
    } else if (machines_.tell(machine)) {
      plan_.foresee(machine);
    }
  }
  plan_.takePage(*page);
}

void ScanWatch::endMachines(std::string_view) { plan_.endMachines(); }

void ScanWatch::skipDisks(std::string_view) { plan_.skipDisks(); }

// "UUID] of VM[URN] is invalid !": the last mark counts, for the UUID may hold anything.
void ScanWatch::refuseUuid(std::string_view rest) {
  constexpr std::string_view kMark = "] of VM[";
  const std::size_t mark = rest.rfind(kMark);
  if (mark == std::string_view::npos) return;
  rest.remove_prefix(mark + kMark.size());
  machines_.refuseUuid(rest.substr(0, rest.rfind("] is invalid !")));
}

void ScanWatch::refuseMachine(std::string_view rest) {
  machines_.refuseData(rest.substr(0, rest.rfind("] information !")));
}

ScanPhase ScanWatch::phase() const {
  if (!hasClusters_) return ScanPhase::preparing;
  if (plan_.isDone()) return ScanPhase::reply;
  if (plan_.isClustersTurn() && plan_.machinesDue() == 0) return ScanPhase::listing;
  const bool readsPlaces = !plan_.knowsPlaces() || plan_.datastoresDue() > 0;
  return plan_.hasTurn() || !readsPlaces ? ScanPhase::machines : ScanPhase::hosts;
}

void ScanWatch::countObjects(ScanCounts& counts) const {
  switch (counts.phase) {
    case ScanPhase::preparing:
      return;
    case ScanPhase::hosts:
      counts.objects = plan_.places() - std::min(plan_.places(), plan_.datastoresDue());
      if (plan_.knowsPlaces()) counts.objectsExpected = plan_.places();
      return;
    case ScanPhase::listing:
      counts.objects = machines_.size();
      break;
    case ScanPhase::machines:
    case ScanPhase::reply:
      counts.objects = inPlace_ - std::min<std::uint64_t>(inPlace_, plan_.machinesDue());
      break;
  }
  if (plan_.knowsCounts()) counts.objectsExpected = plan_.counted();
}

ScanCounts ScanWatch::counts() const {
  ScanCounts counts;
  counts.phase = phase();
  countObjects(counts);
  counts.exchanges = exchanges_;
  counts.listings = listings_;
  if (const auto rest = plan_.remaining()) {
    counts.exchangesExpected = exchanges_ + rounded(rest->exchanges);
    counts.listingsExpected = listings_ + rounded(rest->listings);
  }
  return counts;
}

Accounting ScanWatch::accounting(const ScanEnvironmentReply& reply) const {
  return machines_.account(reply, plan_.counted());
}

std::vector<Warning> ScanWatch::warnings(const ScanEnvironmentReply& reply) const {
  std::vector<Warning> warnings;
  addGuestWarning(machines_.unknownSystems(reply), warnings);
  addMachineWarnings(accounting(reply), warnings);
  addRepetitionWarning(reply, warnings);
  return warnings;
}

}  // namespace kestrelvisor::ctl
