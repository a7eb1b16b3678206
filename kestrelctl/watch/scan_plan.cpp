#include "kestrelctl/watch/scan_plan.h"

#include <algorithm>
#include <numeric>
#include <unordered_set>

namespace kestrelvisor::ctl {
namespace {

constexpr std::uint64_t kPageSize = 100;

// The engine asks for one page more than a multiple of the page size needs, and for none when there
// are no machines.
double pagesOf(std::uint64_t machines) {
  return machines == 0 ? 0 : static_cast<double>(machines / kPageSize + 1);
}

double lacking(double whole, double part) { return std::max(whole - part, 0.0); }

bool isAskedForDisks(const ToldMachine& machine) {
  return !machine.isTemplate && !machine.isLinkedClone && machine.lookups > 0;
}

}  // namespace

ScanWork& ScanWork::operator+=(const ScanWork& other) {
  exchanges += other.exchanges;
  listings += other.listings;
  return *this;
}

void ScanPlan::Sample::add(const ScanWork& work) {
  sum += work;
  ++count;
}

// A fifth of the places speaks for the others.
bool ScanPlan::Sample::suffices() const { return unknown <= 4 * count; }

ScanWork ScanPlan::Sample::mean() const {
  return count > 0 ? ScanWork{sum.exchanges / count, sum.listings / count} : ScanWork();
}

void ScanPlan::add(const std::vector<UrnHash>& urns, bool areClusters,
                   std::optional<std::size_t> cluster) {
  for (const UrnHash urn : urns) {
    if (cluster) hostByUrn_.emplace(urn, places_.size());
    Place& place = places_.emplace_back();
    place.urn = urn;
    place.isCluster = areClusters;
    place.cluster = cluster;
  }
  if (areClusters) clustersWaiting_ += urns.size();
  datastoresDue_ = urns.size();
}

void ScanPlan::addClusters(const std::vector<UrnHash>& clusters) { add(clusters, true, {}); }

void ScanPlan::addHosts(const std::vector<UrnHash>& hosts) {
  const bool ofCluster = hostsTold_ && next_ < places_.size() && places_[next_].isCluster;
  add(hosts, false, ofCluster ? std::optional(next_) : std::nullopt);
  hostsTold_ = true;
  datastoresAreNext_ = ofCluster;
}

void ScanPlan::countExchange() {
  const std::size_t place = current_.value_or(next_);
  const bool ofPlace = hostsTold_ && (datastoresDue_ == 0 || datastoresAreNext_);
  if (ofPlace && place < places_.size()) ++places_[place].done.exchanges;
  if (datastoresDue_ > 0) {
    --datastoresDue_;
  } else if (!lookupsDue_.empty() && --lookupsDue_.back() == 0) {
    lookupsDue_.pop_back();
  }
}

void ScanPlan::beginMachines(std::uint64_t total) {
  endMachines();
  // A site without hosts and clusters is asked itself.
  if (next_ == places_.size()) places_.emplace_back();
  current_ = next_++;
  datastoresDue_ = 0;
  if (places_[*current_].isCluster) --clustersWaiting_;
  places_[*current_].stage = Stage::current;
  places_[*current_].total = total;
  if (total == 0) endMachines();
}

void ScanPlan::takePage(const std::vector<ToldMachine>& page) {
  lookupsDue_.clear();
  if (!current_) return;
  Place& place = places_[*current_];
  ++place.pages;
  place.done.listings += static_cast<double>(page.size());
  for (const ToldMachine& machine : page) {
    if (isHostOfCurrent(machine)) place.tellsHosts = true;
    if (isHere(machine) && isAskedForDisks(machine)) {
      lookupsDue_.push_back(machine.lookups);
      place.lookupsTold += machine.lookups;
    }
  }
  std::reverse(lookupsDue_.begin(), lookupsDue_.end());
}

void ScanPlan::endMachines() {
  lookupsDue_.clear();
  if (current_) places_[*current_].stage = Stage::done;
  current_.reset();
}

void ScanPlan::skipDisks() {
  if (!lookupsDue_.empty()) lookupsDue_.pop_back();
}

void ScanPlan::foresee(const ToldMachine& machine) {
  if (!isClustersTurn() || !machine.place) return;
  const auto found = hostByUrn_.find(*machine.place);
  if (found == hostByUrn_.end()) return;
  ScanWork& foreseen = places_[found->second].foreseen;
  ++foreseen.listings;
  if (isAskedForDisks(machine)) foreseen.exchanges += machine.lookups;
}

bool ScanPlan::isHere(const ToldMachine& machine) const {
  return current_ && machine.place == places_[*current_].urn;
}

bool ScanPlan::knowsCounts() const {
  return hostsTold_ && std::none_of(places_.begin(), places_.end(), [&](const Place& place) {
           return place.stage == Stage::waiting && !isToldByCluster(place);
         });
}

// Whether a machine is on a host of the cluster whose turn it is.
bool ScanPlan::isHostOfCurrent(const ToldMachine& machine) const {
  if (!current_ || !machine.place) return false;
  const auto found = hostByUrn_.find(*machine.place);
  return found != hostByUrn_.end() && places_[found->second].cluster == current_;
}

bool ScanPlan::isToldByCluster(const Place& place) const {
  return place.cluster && places_[*place.cluster].tellsHosts;
}

std::uint64_t ScanPlan::counted() const {
  // A place may be told twice, and a host both with and without its cluster.
  std::unordered_set<UrnHash> taken;
  for (const Place& place : places_) {
    if (isToldByCluster(place)) taken.insert(place.urn);
  }
  std::uint64_t sum = 0;
  for (const Place& place : places_) {
    if (place.stage != Stage::waiting && taken.insert(place.urn).second) sum += place.total;
  }
  return sum;
}

ScanPlan::Knowledge ScanPlan::knowledgeOf(const Place& place) const {
  if (place.stage == Stage::done) return Knowledge::done;
  if (place.stage == Stage::current) return Knowledge::current;
  if (!place.cluster) return Knowledge::unknown;
  if (places_[*place.cluster].stage == Stage::waiting) return Knowledge::partOfOther;
  return isToldByCluster(place) ? Knowledge::foreseen : Knowledge::unknown;
}

// While its cluster is being listed, what is known of a host is a part.
ScanWork ScanPlan::foreseenWork(const Place& host) const {
  const Place& cluster = places_[*host.cluster];
  const bool partly = cluster.stage == Stage::current && cluster.done.listings > 0;
  const double scale =
      partly ? std::max(static_cast<double>(cluster.total) / cluster.done.listings, 1.0) : 1.0;
  const double machines = host.foreseen.listings * scale;
  const double pages = pagesOf(static_cast<std::uint64_t>(machines));
  return {1 + pages + host.foreseen.exchanges * scale, machines};
}

double ScanPlan::lookupsDue() const {
  return std::accumulate(lookupsDue_.begin(), lookupsDue_.end(), 0.0);
}

// Of the place whose turn it is: its further pages, and the disks of machines told and untold.
ScanWork ScanPlan::restOfTurn(const Place& place) const {
  const double listings = lacking(static_cast<double>(place.total), place.done.listings);
  const double pages = lacking(pagesOf(place.total), static_cast<double>(place.pages));
  const auto told = static_cast<double>(place.lookupsTold);
  double untold = 0;
  if (isToldByCluster(place)) {
    untold = lacking(place.foreseen.exchanges, told);
  } else if (place.done.listings > 0) {
    untold = told / place.done.listings * listings;
  }
  return {pages + lookupsDue() + untold, listings};
}

ScanPlan::Samples ScanPlan::samples() const {
  Samples samples;
  for (const Place& place : places_) {
    Sample& ofKind = place.isCluster ? samples.clusters : samples.hosts;
    const Knowledge knowledge = knowledgeOf(place);
    if (knowledge == Knowledge::unknown) ++ofKind.unknown;
    const bool isKnown = knowledge == Knowledge::done || knowledge == Knowledge::foreseen;
    if (!isKnown) continue;
    const ScanWork work = knowledge == Knowledge::done ? place.done : foreseenWork(place);
    ofKind.add(work);
    const bool ofDoneCluster = place.cluster && places_[*place.cluster].stage == Stage::done;
    if (ofDoneCluster) samples.clusters.sum += work;
  }
  return samples;
}

// Whether the turn has begun and nothing tells yet what its machines will take.
bool ScanPlan::lacksFirstPage(const Samples& samples) const {
  if (!current_ || places_[*current_].pages > 0) return false;
  const Place& place = places_[*current_];
  return !isToldByCluster(place) && (place.isCluster ? samples.clusters : samples.hosts).count == 0;
}

ScanWork ScanPlan::restOf(const Place& place, const Samples& samples) const {
  switch (knowledgeOf(place)) {
    case Knowledge::done:
    case Knowledge::partOfOther:
      return {};
    case Knowledge::current:
      return restOfTurn(place);
    case Knowledge::foreseen:
      return foreseenWork(place);
    case Knowledge::unknown:
      break;
  }
  const ScanWork mean = (place.isCluster ? samples.clusters : samples.hosts).mean();
  return {lacking(mean.exchanges, place.done.exchanges), mean.listings};
}

std::optional<ScanWork> ScanPlan::remaining() const {
  if (!hostsTold_) return std::nullopt;
  const Samples known = samples();
  const bool suffices = known.clusters.suffices() && known.hosts.suffices();
  if (!suffices || lacksFirstPage(known)) return std::nullopt;
  ScanWork rest;
  for (const Place& place : places_) rest += restOf(place, known);
  return rest;
}

}  // namespace kestrelvisor::ctl
