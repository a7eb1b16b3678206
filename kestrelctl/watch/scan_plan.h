#pragma once

#include "kestrelctl/watch/told_answer.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace kestrelvisor::ctl {

// Requests and what they yield, counted or estimated.
struct ScanWork {
  double exchanges = 0;
  double listings = 0;  // machines told in pages

  ScanWork& operator+=(const ScanWork& other);
};

// The places that a scan asks for their machines, in the order of their turns, and what that takes.
//
// First come the clusters and the hosts without one, then the hosts of each cluster. A cluster's
// pages hold the machines of its hosts too: from then on it is known what those hosts will take.
// Until then, and where a manager tells otherwise, what other places took stands for it.
class ScanPlan {
 public:
  // The lists of places. The first list of hosts are those without a cluster; each further one
  // belongs to the cluster whose turn is next.
  void addClusters(const std::vector<UrnHash>& clusters);
  void addHosts(const std::vector<UrnHash>& hosts);

  // One exchange came to its end. What it was for follows from what is due.
  void countExchange();

  // The next place's turn begins with the manager's count of its machines.
  void beginMachines(std::uint64_t total);
  void takePage(const std::vector<ToldMachine>& page);
  void endMachines();
  // The engine leaves out the rest of a machine's disks.
  void skipDisks();
  // A machine that will come again when it is its host's turn.
  void foresee(const ToldMachine& machine);

  // Whether a machine is in the very place whose turn it is.
  bool isHere(const ToldMachine& machine) const;
  bool hasTurn() const { return current_.has_value(); }
  bool isClustersTurn() const { return current_ && places_[*current_].isCluster; }
  bool isDone() const { return hostsTold_ && !current_ && next_ == places_.size(); }

  std::size_t places() const { return places_.size(); }
  std::size_t datastoresDue() const { return datastoresDue_; }  // places whose turn for them comes
  std::size_t machinesDue() const { return lookupsDue_.size(); }  // those whose disks are due

  // Whether all lists of places have come, and all counts that make up counted().
  bool knowsPlaces() const { return hostsTold_ && clustersWaiting_ == 0; }
  bool knowsCounts() const;

  // The machines of the site by the manager's counts.
  std::uint64_t counted() const;
  // What is still to be done; nothing as long as too little is known.
  std::optional<ScanWork> remaining() const;

 private:
  enum class Stage : std::uint8_t { waiting, current, done };

  struct Place {
    UrnHash urn = 0;
    std::optional<std::size_t> cluster;  // position of a host's
    bool isCluster = false;
    bool tellsHosts = false;  // a cluster whose pages hold machines of its hosts
    Stage stage = Stage::waiting;
    std::uint64_t total = 0;
    std::uint64_t pages = 0;
    std::uint64_t lookupsTold = 0;  // that the machines told so far take
    ScanWork done;
    ScanWork foreseen;  // of a host, by its cluster's pages: lookups and listings
  };

  // What is known of the work that a place takes.
  enum class Knowledge {
    done,         // all
    current,      // much: it is its turn
    foreseen,     // its cluster has told its machines
    partOfOther,  // what is known of its cluster, whose turn comes, holds it
    unknown,      // nothing; others stand for it
  };

  // What places of one kind take.
  struct Sample {
    ScanWork sum;
    double count = 0;
    double unknown = 0;  // places that it stands for

    void add(const ScanWork& work);
    bool suffices() const;
    ScanWork mean() const;
  };
  struct Samples {
    Sample clusters;  // each with its hosts
    Sample hosts;
  };

  void add(const std::vector<UrnHash>& urns, bool areClusters, std::optional<std::size_t> cluster);
  bool isHostOfCurrent(const ToldMachine& machine) const;
  bool isToldByCluster(const Place& place) const;
  Knowledge knowledgeOf(const Place& place) const;
  double lookupsDue() const;
  ScanWork foreseenWork(const Place& host) const;
  ScanWork restOfTurn(const Place& place) const;
  ScanWork restOf(const Place& place, const Samples& samples) const;
  Samples samples() const;
  bool lacksFirstPage(const Samples& samples) const;

  std::vector<Place> places_;
  std::unordered_map<UrnHash, std::size_t> hostByUrn_;  // those of clusters
  std::size_t next_ = 0;
  std::size_t clustersWaiting_ = 0;  // whose turn comes, and with it a list of hosts
  std::optional<std::size_t> current_;
  bool hostsTold_ = false;
  std::size_t datastoresDue_ = 0;
  bool datastoresAreNext_ = false;         // they are those of hosts of the next place, a cluster
  std::vector<std::uint32_t> lookupsDue_;  // of the page's machines, the last one's first
};

}  // namespace kestrelvisor::ctl
