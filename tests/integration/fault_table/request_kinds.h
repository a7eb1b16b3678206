#pragma once

#include <array>
#include <string>

namespace kestrelvisor::test {

enum class Operation { verify, scan, disable };

// One request as a manager reads it.
struct SiteRequest {
  const char* method;
  const char* target;

  std::string line() const { return std::string(method) + " " + target; }
};

// What the site of the table is asked. It holds one of each: cluster c1, host h1 outside it,
// datastore d1 of both, machine v1 on the host with one disk.
inline constexpr SiteRequest kVersions{"GET", "/service/versions"};
inline constexpr SiteRequest kLogin{"POST", "/service/session"};
inline constexpr SiteRequest kLogout{"DELETE", "/service/session"};
inline constexpr SiteRequest kSites{"GET", "/service/sites"};
inline constexpr SiteRequest kOsVersions{"GET", "/service/sites/S1/vms/osversions"};
inline constexpr SiteRequest kOsVersionsOnArm{"GET", "/service/sites/S1/vms/osversions?arch=arm"};
inline constexpr SiteRequest kClusters{"GET", "/service/sites/S1/clusters"};
inline constexpr SiteRequest kDatastoresOfCluster{
    "GET", "/service/sites/S1/datastores?scope=urn:sites:S1:clusters:c1&status=NORMAL"};
inline constexpr SiteRequest kHostsOutside{"GET", "/service/sites/S1/hosts?scope=default"};
inline constexpr SiteRequest kHostsOfCluster{
    "GET", "/service/sites/S1/hosts?scope=urn:sites:S1:clusters:c1"};
inline constexpr SiteRequest kDatastoresOfHost{"GET", "/service/sites/S1/datastores?status=NORMAL"};
inline constexpr SiteRequest kCountOnCluster{
    "GET", "/service/sites/S1/vms?limit=1&offset=0&scope=urn:sites:S1:clusters:c1"};
inline constexpr SiteRequest kCountOnHost{
    "GET", "/service/sites/S1/vms?limit=1&offset=0&scope=urn:sites:S1:hosts:h1"};
inline constexpr SiteRequest kPageOnHost{
    "GET", "/service/sites/S1/vms?limit=100&offset=0&scope=urn:sites:S1:hosts:h1&detail=2"};
inline constexpr SiteRequest kDiscovery{
    "GET",
    "/service/sites/S1/volumes/compatibility/discovery?uuid=10000000-0000-4000-8000-000000000001"
    "&datestore=d1&page=1&offset=0&limit=15"};
inline constexpr SiteRequest kCbt{"DELETE", "/service/sites/S1/vms/v1/action/CBTbackup"};

inline constexpr const char* kMachine = "/service/sites/S1/vms/v1";

// A kind of request: one of its kind, the smallest operation that sends it, and an answer whose
// values have types that no conversion takes (an empty one where nobody reads the answer).
struct RequestKind {
  const char* name;
  SiteRequest request;
  Operation operation;
  const char* oddAnswer;
};

// A logout is sent because the session is another user's.
inline constexpr std::array<RequestKind, 12> kRequestKinds{{
    {"versions", kVersions, Operation::verify, R"({"versions":[{"version":{}}]})"},
    {"login", kLogin, Operation::verify, R"({"roleList":[{}],"validity":1})"},
    {"logout", kLogout, Operation::verify, "{}"},
    {"sites", kSites, Operation::verify, R"({"sites":[{"isSelf":"yes"}]})"},
    {"clusters", kClusters, Operation::scan, R"({"clusters":[{"urn":{}}]})"},
    {"hosts", kHostsOutside, Operation::scan, R"({"hosts":[{"urn":{}}]})"},
    {"datastores", kDatastoresOfCluster, Operation::scan, R"({"total":"one"})"},
    {"VM count", kCountOnHost, Operation::scan, R"({"total":"one"})"},
    {"VM page", kPageOnHost, Operation::scan, R"({"vms":[{"location":{}}]})"},
    {"volume discovery", kDiscovery, Operation::scan,
     R"({"volumes":[{"customProperties":{"external_uuid":{}}}]})"},
    {"OS versions", kOsVersionsOnArm, Operation::scan, R"({"linux":[{"id":"two"}]})"},
    {"CBT", kCbt, Operation::disable, "{}"},
}};

inline bool operator==(const SiteRequest& one, const SiteRequest& other) {
  return one.line() == other.line();
}

}  // namespace kestrelvisor::test
