#include "vrmsim/inventory.h"

namespace kestrelvisor::vrmsim {

std::string Inventory::ownSite() const {
  for (const Site& site : sites) {
    if (site.isSelf) return site.id;
  }
  return {};
}

std::string siteUri(const std::string& site) { return "/service/sites/" + site; }

std::string objectUri(const std::string& site, const char* collection, const std::string& id) {
  return siteUri(site) + "/" + collection + "/" + id;
}

std::string objectUrn(const std::string& site, const char* collection, const std::string& id) {
  return "urn:sites:" + site + ":" + collection + ":" + id;
}

}  // namespace kestrelvisor::vrmsim
