#include "tests/engine/engine_fixture.h"

namespace kestrelvisor::test {

Answer ownSite(const std::string& ip) {
  return ok(R"({"sites":[{"urn":"urn:sites:9","uri":"/service/sites/9","name":"far",)"
            R"("ip":"10.9.9.9","isSelf":false},)"
            R"({"urn":"urn:sites:1","uri":"/service/sites/1","name":"near","ip":")" +
            ip + R"(","isSelf":true}]})");
}

EngineTest::EngineTest() {
  KestrelVisorPublic::getInstance().restApi.tokenMap.clear();
  manager.serves("GET", kVersions, ok(R"({"versions":[{"version":"v1.2"},{"version":"v6.5"}]})"));
  manager.serves("GET", kSites, ownSite(manager.address()));
}

EngineTest::~EngineTest() { KestrelVisorPublic::getInstance().restApi.tokenMap.clear(); }

void EngineTest::hasOneHost() {
  const std::string site = "/service/sites/1";
  manager.serves("GET", site + "/vms/osversions", ok("{}"));
  manager.serves("GET", site + "/vms/osversions?arch=arm", ok("{}"));
  manager.serves("GET", site + "/clusters", ok(R"({"clusters":[]})"));
  manager.serves("GET", site + "/hosts?scope=default",
                 ok(R"({"hosts":[{"urn":"urn:sites:1:hosts:1","uri":"/service/sites/1/hosts/1",)"
                    R"("name":"host","physicalCpuQuantity":2}]})"));
  manager.serves("GET", site + "/datastores?status=NORMAL", ok(R"({"total":0,"datastores":[]})"));
  manager.serves("GET", site + "/vms?limit=1&offset=0&scope=urn:sites:1:hosts:1",
                 ok(R"({"total":0,"vms":[]})"));
}

}  // namespace kestrelvisor::test
