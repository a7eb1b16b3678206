#include "kestrelctl/watch/told_answer.h"

#include <json/json.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <utility>

namespace kestrelvisor::ctl {
namespace {

constexpr std::string_view kAnswerStart = "Get returned info from VRM:";
constexpr std::string_view kAnswerEnd = ",returned http code:";

constexpr std::string_view kUriHead = "/service";
constexpr std::string_view kUrnHead = "urn";

// The engine reads no deeper either.
constexpr int kDeepestNesting = 200;

// The buses whose disks the engine looks up, and the fields that a datastore's URN needs for it.
constexpr std::array<std::string_view, 3> kLookedUpBuses{"IDE", "VIRTIO", "SCSI"};
constexpr std::ptrdiff_t kColonsOfDatastore = 4;

constexpr std::size_t kLongestSystem = 60;

// Null when the text is not JSON.
Json::Value parsed(std::string_view text) {
  Json::CharReaderBuilder builder;
  builder["stackLimit"] = kDeepestNesting;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value root;
  try {
    const char* const start = text.data();
    if (!reader->parse(start, start + text.size(), &root, nullptr)) return {};
  } catch (const Json::Exception&) {
    return {};
  }
  return root;
}

// What an object has under a key; null when the value is no object.
const Json::Value& member(const Json::Value& object, const char* key) {
  return object.isObject() ? object[key] : Json::Value::nullSingleton();
}

std::string text(const Json::Value& object, const char* key) {
  const Json::Value& value = member(object, key);
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

bool flag(const Json::Value& object, const char* key) {
  const Json::Value& value = member(object, key);
  return value.isConvertibleTo(Json::booleanValue) && value.asBool();
}

bool isLookedUp(const Json::Value& disk) {
  const std::string bus = text(disk, "pciType");
  if (std::find(kLookedUpBuses.begin(), kLookedUpBuses.end(), bus) == kLookedUpBuses.end()) {
    return false;
  }
  const std::string datastore = text(disk, "datastoreUrn");
  return std::count(datastore.begin(), datastore.end(), ':') >= kColonsOfDatastore;
}

std::uint32_t lookupsOf(const Json::Value& machine) {
  const Json::Value& disks = member(member(machine, "vmConfig"), "disks");
  if (!disks.isArray()) return 0;
  return static_cast<std::uint32_t>(std::count_if(disks.begin(), disks.end(), isLookedUp));
}

// Whole characters of a text of UTF-8.
std::string shortened(std::string text) {
  if (text.size() <= kLongestSystem) return text;
  std::size_t end = kLongestSystem;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  text.resize(end);
  return text;
}

std::string systemOf(const Json::Value& machine) {
  const Json::Value& options = member(machine, "osOptions");
  const std::string type = text(options, "osType");
  if (type.empty()) return shortened(text(options, "guestOSName"));
  const std::string number = text(options, "osVersion");
  return shortened(type + (number.empty() ? " without a number" : " number " + number));
}

std::optional<UrnHash> identityOf(const Json::Value& object) {
  if (const std::string urn = text(object, "urn"); !urn.empty()) return hashOfUrn(urn);
  if (const std::string uri = text(object, "uri"); !uri.empty()) return hashOfUri(uri);
  return std::nullopt;
}

ToldMachine readMachine(const Json::Value& element, UrnHash urn) {
  ToldMachine machine;
  machine.urn = urn;
  const std::string place = text(element, "location");
  if (!place.empty()) machine.place = hashOfUrn(place);
  machine.isTemplate = flag(element, "isTemplate");
  machine.isLinkedClone = flag(element, "isLinkClone");
  machine.lookups = lookupsOf(element);
  machine.system = systemOf(element);
  return machine;
}

}  // namespace

UrnHash hashOfUrn(std::string_view urn) { return std::hash<std::string_view>()(urn); }

UrnHash hashOfUri(std::string_view uri) {
  if (uri.find('/') == std::string_view::npos) return hashOfUrn(uri);
  std::string urn(uri);
  urn.replace(0, kUriHead.size(), kUrnHead);  // by length, whatever stands there
  std::replace(urn.begin(), urn.end(), '/', ':');
  return hashOfUrn(urn);
}

std::optional<std::string_view> answerIn(std::string_view recordText) {
  if (recordText.substr(0, kAnswerStart.size()) != kAnswerStart) return std::nullopt;
  recordText.remove_prefix(kAnswerStart.size());
  return recordText.substr(0, recordText.rfind(kAnswerEnd));
}

std::optional<std::vector<ToldMachine>> machinesIn(std::string_view answer) {
  const Json::Value root = parsed(answer);
  const Json::Value& list = member(root, "vms");
  if (!list.isArray()) return std::nullopt;
  std::vector<ToldMachine> machines;
  machines.reserve(list.size());
  for (const Json::Value& element : list) {
    if (const auto urn = identityOf(element)) machines.push_back(readMachine(element, *urn));
  }
  return machines;
}

std::vector<UrnHash> placesIn(std::string_view answer, const char* key) {
  const Json::Value root = parsed(answer);
  const Json::Value& list = member(root, key);
  std::vector<UrnHash> places;
  if (!list.isArray()) return places;
  // By URI: the engine makes the URN that it asks with from it.
  for (const Json::Value& element : list) places.push_back(hashOfUri(text(element, "uri")));
  return places;
}

std::optional<bool> tellsOwnSite(std::string_view answer) {
  const Json::Value root = parsed(answer);
  const Json::Value& sites = member(root, "sites");
  if (!sites.isArray()) return std::nullopt;
  return std::any_of(sites.begin(), sites.end(),
                     [](const Json::Value& site) { return flag(site, "isSelf"); });
}

}  // namespace kestrelvisor::ctl
