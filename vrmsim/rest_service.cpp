#include "vrmsim/rest_service.h"

#include "vrmsim/digest.h"
#include "vrmsim/inventory_change.h"
#include "vrmsim/wire_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <numeric>

namespace kestrelvisor::vrmsim {
namespace {

struct Refusal {
  int status;
  const char* code;
};

constexpr Refusal kSessionInvalid{401, "10000002"};
constexpr Refusal kNoSuchObject{404, "10000008"};
constexpr Refusal kBadCredentials{401, "10100103"};
constexpr Refusal kTemplateHasNoCbt{409, "10300427"};
constexpr Refusal kLinkedCloneHasNoCbt{409, "10300428"};
constexpr Refusal kDatastoreHasNoCbt{409, "10430044"};

// Codes of our own, for what a client should never send.
constexpr Refusal kNoSuchRoute{404, "10009001"};
constexpr Refusal kWrongMethod{405, "10009002"};
constexpr Refusal kVersionNotOffered{406, "10009003"};
constexpr Refusal kInvalidParameter{400, "10009004"};
constexpr Refusal kUnreadable{400, "10009005"};

// The storage types whose volumes can be tracked.
constexpr std::array<std::string_view, 5> kCbtStorageTypes{"LUNPOME", "LOCALPOME", "NAS", "QSTORE",
                                                           "advanceSan"};

constexpr std::string_view kDockingUserType = "2";
constexpr std::uint64_t kDefaultLimit = 100;

HttpReply refuse(const Refusal& refusal, const std::string& description) {
  HttpReply reply;
  reply.status = refusal.status;
  reply.body = errorBody(refusal.code, description);
  return reply;
}

HttpReply good(JsonText& body) {
  HttpReply reply;
  reply.body = body.take();
  return reply;
}

HttpReply noSuchObject(const std::string& name) {
  return refuse(kNoSuchObject, "The object does not exist: " + name);
}

using Segments = std::vector<std::string_view>;

// What stands between the slashes; the first slash opens the path.
Segments segments(std::string_view path) {
  Segments parts;
  std::size_t begin = 1;
  while (begin <= path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    parts.emplace_back(path.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

// The segments for which the pattern has "*"; nothing when the path has another form.
std::optional<std::vector<std::string>> match(const Segments& wanted, const Segments& given) {
  const bool matches = std::equal(
      wanted.begin(), wanted.end(), given.begin(), given.end(),
      [](std::string_view one, std::string_view other) { return one == "*" || one == other; });
  if (!matches) return std::nullopt;
  std::vector<std::string> open;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i] == "*") open.emplace_back(given[i]);
  }
  return open;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// "1.2" of "application/json;version=1.2; charset=UTF-8".
std::string_view acceptedVersion(std::string_view accept) {
  constexpr std::string_view kVersion = "version=";
  std::size_t begin = 0;
  while (begin <= accept.size()) {
    const std::size_t end = std::min(accept.find(';', begin), accept.size());
    const std::string_view part = trimmed(accept.substr(begin, end - begin));
    if (part.substr(0, kVersion.size()) == kVersion) return part.substr(kVersion.size());
    begin = end + 1;
  }
  return {};
}

// Sets value when the parameter is there; false when it is no number.
bool readNumber(const Target& target, const char* name, std::uint64_t& value) {
  const std::string* const text = target.parameter(name);
  if (text == nullptr) return true;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  return error == std::errc() && stop == end;
}

struct Page {
  std::uint64_t limit = kDefaultLimit;
  std::uint64_t offset = 0;
};

std::optional<Page> readPage(const Target& target) {
  Page page;
  if (!readNumber(target, "limit", page.limit) || !readNumber(target, "offset", page.offset)) {
    return std::nullopt;
  }
  return page;
}

HttpReply badPage() {
  return refuse(kInvalidParameter, "limit and offset must be numbers that are not negative");
}

// All positions of a list of that size.
InventoryIndex::Positions allOf(std::size_t size) {
  InventoryIndex::Positions positions(size);
  std::iota(positions.begin(), positions.end(), std::size_t{0});
  return positions;
}

std::string textOf(const Target& target, const char* name) {
  const std::string* const text = target.parameter(name);
  return text == nullptr ? std::string() : *text;
}

}  // namespace

RestService::RestService(const SimulatorOptions& options)
    : users_(options.users),
      versions_(options.versions),
      tokenValidity_(options.tokenValidity),
      sessions_(options.tokenValidity, options.clock, options.faultSeed),
      index_(std::make_unique<const InventoryIndex>(options.inventory)) {}

const std::vector<RestService::Route>& RestService::routes() {
  static const std::vector<Route> kRoutes{
      {"GET", segments("/service/versions"), &RestService::listVersions, false},
      {"POST", segments("/service/session"), &RestService::logIn, false},
      {"DELETE", segments("/service/session"), &RestService::logOut, true},
      {"GET", segments("/service/sites"), &RestService::listSites, true},
      {"GET", segments("/service/sites/*/clusters"), &RestService::listClusters, true},
      {"GET", segments("/service/sites/*/hosts"), &RestService::listHosts, true},
      {"GET", segments("/service/sites/*/datastores"), &RestService::listDatastores, true},
      {"GET", segments("/service/sites/*/vms"), &RestService::listVms, true},
      {"GET", segments("/service/sites/*/vms/osversions"), &RestService::listOsVersions, true},
      {"GET", segments("/service/sites/*/volumes/compatibility/discovery"),
       &RestService::discoverVolumes, true},
      {"DELETE", segments("/service/sites/*/vms/*/action/CBTbackup"), &RestService::disableCbt,
       true},
  };
  return kRoutes;
}

HttpReply RestService::answer(const HttpRequest& request) {
  if (!request.defect.empty()) {
    HttpReply reply = refuse(kUnreadable, "The request cannot be read: " + request.defect);
    reply.complaint = "unreadable request: " + request.defect;
    return reply;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  Target target = parseTarget(request.target);
  const Segments path = segments(target.path);
  std::string allowed;
  for (const Route& route : routes()) {
    auto arguments = match(route.pattern, path);
    if (!arguments) continue;
    if (request.method == route.method) {
      return dispatch(route, Call{request, std::move(target), std::move(*arguments)});
    }
    allowed.append(allowed.empty() ? "" : ", ").append(route.method);
  }
  return refuseUnrouted(request, allowed);
}

HttpReply RestService::dispatch(const Route& route, const Call& call) {
  if (route.needsSession) {
    if (auto refusal = refusalOfSession(call.request)) return std::move(*refusal);
    if (auto refusal = refusalOfVersion(call.request)) return std::move(*refusal);
  }
  if (!call.arguments.empty() && call.arguments.front() != index_->site()) {
    return noSuchObject(siteUri(call.arguments.front()));
  }
  return (this->*route.handler)(call);
}

HttpReply RestService::refuseUnrouted(const HttpRequest& request,
                                      const std::string& allowed) const {
  const std::string what = request.method + " " + request.target;
  if (allowed.empty()) {
    HttpReply reply = refuse(kNoSuchRoute, "Nothing is served at " + what);
    reply.complaint = "nobody serves " + what;
    return reply;
  }
  HttpReply reply = refuse(kWrongMethod, "The method is not served at this path: " + what);
  reply.headers.emplace_back("Allow", allowed);
  reply.complaint = "nobody serves " + what + ", only " + allowed;
  return reply;
}

std::optional<HttpReply> RestService::refusalOfSession(const HttpRequest& request) {
  if (sessions_.use(request.header("X-Auth-Token"))) return std::nullopt;
  return refuse(kSessionInvalid, "The session does not exist or has expired.");
}

std::optional<HttpReply> RestService::refusalOfVersion(const HttpRequest& request) const {
  const std::string_view wanted = acceptedVersion(request.header("Accept"));
  for (const std::string& version : versions_) {
    // A client drops the first character, the "v".
    if (version.size() > 1 && version.substr(1) == wanted) return std::nullopt;
  }
  return refuse(kVersionNotOffered,
                "The Accept header must name a version that the manager offers, found: \"" +
                    std::string(request.header("Accept")) + "\"");
}

HttpReply RestService::listVersions(const Call&) {
  JsonText body;
  body.open('{').key("versions").open('[');
  for (const std::string& version : versions_) {
    body.open('{').member("version", version).close('}');
  }
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::logIn(const Call& call) {
  if (auto refusal = refusalOfVersion(call.request)) return std::move(*refusal);
  const auto user = std::find_if(users_.begin(), users_.end(), [&](const User& known) {
    return known.name == call.request.header("X-Auth-User") &&
           sha256Hex(known.password) == call.request.header("X-Auth-Key");
  });
  if (user == users_.end() || call.request.header("X-Auth-UserType") != kDockingUserType) {
    return refuse(kBadCredentials, "The user name, the password or the user type is wrong.");
  }
  if (!call.request.body.empty()) return refuse(kInvalidParameter, "A login has no body.");
  JsonText body;
  body.open('{').member("userName", user->name).key("roleList").open('[');
  for (const std::string& role : user->roles) body.value(role);
  body.close(']').member("validity", tokenValidity_.count()).close('}');
  HttpReply reply = good(body);
  reply.headers.emplace_back("X-Auth-Token", sessions_.open());
  return reply;
}

HttpReply RestService::logOut(const Call& call) {
  sessions_.end(call.request.header("X-Auth-Token"));
  JsonText body;
  body.open('{').close('}');
  return good(body);
}

HttpReply RestService::listSites(const Call& call) {
  JsonText body;
  body.open('{').key("sites").open('[');
  for (const Site& site : index_->inventory().sites) {
    const std::string& own = siteAddress_ ? *siteAddress_ : call.request.localAddress;
    writeSite(body, site, site.isSelf ? own : site.ip);
  }
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::listClusters(const Call&) {
  const std::vector<Cluster>& clusters = index_->inventory().clusters;
  JsonText body;
  body.open('{').member("total", clusters.size()).key("clusters").open('[');
  for (const Cluster& cluster : clusters) writeCluster(body, *index_, cluster);
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::listHosts(const Call& call) {
  const std::vector<Host>& hosts = index_->inventory().hosts;
  const std::string* const scope = call.target.parameter("scope");
  const InventoryIndex::Positions all = scope == nullptr ? allOf(hosts.size()) : allOf(0);
  const InventoryIndex::Positions* const chosen = scope == nullptr ? &all : index_->hostsOf(*scope);
  if (chosen == nullptr) return noSuchObject(*scope);
  JsonText body;
  body.open('{').member("total", chosen->size()).key("hosts").open('[');
  for (const std::size_t at : *chosen) writeHost(body, *index_, hosts[at]);
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::listDatastores(const Call& call) {
  const std::vector<Datastore>& datastores = index_->inventory().datastores;
  const std::string* const scope = call.target.parameter("scope");
  const std::string* const status = call.target.parameter("status");
  const InventoryIndex::Positions all = scope == nullptr ? allOf(datastores.size()) : allOf(0);
  const InventoryIndex::Positions* const reachable =
      scope == nullptr ? &all : index_->datastoresOf(*scope);
  if (reachable == nullptr) return noSuchObject(*scope);
  InventoryIndex::Positions chosen;
  for (const std::size_t at : *reachable) {
    if (status == nullptr || datastores[at].status == *status) chosen.push_back(at);
  }
  JsonText body;
  body.open('{').member("total", chosen.size()).key("datastores").open('[');
  for (const std::size_t at : chosen) body.written(datastoreText(at));
  body.close(']').close('}');
  return good(body);
}

// A datastore names all of its hosts, and each of them asks for it.
const std::string& RestService::datastoreText(std::size_t position) {
  const std::vector<Datastore>& datastores = index_->inventory().datastores;
  datastoreTexts_.resize(datastores.size());
  std::string& text = datastoreTexts_[position];
  if (text.empty()) {
    JsonText datastore;
    writeDatastore(datastore, *index_, datastores[position]);
    text = datastore.take();
  }
  return text;
}

HttpReply RestService::listVms(const Call& call) {
  const std::vector<Vm>& vms = index_->inventory().vms;
  const std::string* const scope = call.target.parameter("scope");
  const InventoryIndex::Positions all = scope == nullptr ? allOf(vms.size()) : allOf(0);
  const InventoryIndex::Positions* const chosen = scope == nullptr ? &all : index_->vmsOf(*scope);
  if (chosen == nullptr) return noSuchObject(*scope);
  const std::optional<Page> page = readPage(call.target);
  if (!page) return badPage();
  const bool detail = textOf(call.target, "detail") == "2";
  const std::size_t begin = std::min<std::size_t>(page->offset, chosen->size());
  const std::size_t end = begin + std::min<std::size_t>(page->limit, chosen->size() - begin);
  JsonText body;
  body.open('{').member("total", chosen->size()).key("vms").open('[');
  for (std::size_t i = begin; i < end; ++i) writeVm(body, *index_, vms[(*chosen)[i]], detail);
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::discoverVolumes(const Call& call) {
  const std::optional<Page> page = readPage(call.target);
  if (!page) return badPage();
  const std::string datastore = textOf(call.target, "datestore");  // the interface's spelling
  std::vector<const Disk*> volumes;
  for (const auto& [vm, disk] : index_->disksOf(textOf(call.target, "uuid"))) {
    const Disk& candidate = index_->inventory().vms[vm].disks[disk];
    if (candidate.datastore == datastore) volumes.push_back(&candidate);
  }
  const std::size_t begin = std::min<std::size_t>(page->offset, volumes.size());
  const std::size_t end = begin + std::min<std::size_t>(page->limit, volumes.size() - begin);
  JsonText body;
  body.open('{').member("total", volumes.size()).key("volumes").open('[');
  for (std::size_t i = begin; i < end; ++i) writeVolume(body, *index_, *volumes[i]);
  body.close(']').close('}');
  return good(body);
}

HttpReply RestService::listOsVersions(const Call& call) {
  const OsCatalogue& catalogue = index_->inventory().osVersions;
  JsonText body;
  writeOsFamilies(body, textOf(call.target, "arch") == "arm" ? catalogue.arm : catalogue.x86);
  return good(body);
}

HttpReply RestService::disableCbt(const Call& call) {
  const Vm* const vm = index_->vm(call.arguments[1]);
  if (vm == nullptr) return noSuchObject(index_->uri("vms", call.arguments[1]));
  if (vm->isTemplate) return refuse(kTemplateHasNoCbt, "A template has no CBT: " + vm->name);
  if (vm->isLinkClone) {
    return refuse(kLinkedCloneHasNoCbt, "A linked clone has no CBT: " + vm->name);
  }
  if (!cbtIsSupportedBelow(*vm)) {
    return refuse(kDatastoreHasNoCbt, "A datastore of the VM has no CBT: " + vm->name);
  }
  const std::string uri = index_->uri("vms", vm->id);
  cbtDisabled_.insert(uri);
  JsonText body;
  body.open('{').member("urn", index_->urn("vms", vm->id)).member("uri", uri);
  body.member("cbtEnabled", false).close('}');
  return good(body);
}

bool RestService::cbtIsSupportedBelow(const Vm& vm) const {
  return std::all_of(vm.disks.begin(), vm.disks.end(), [this](const Disk& disk) {
    const Datastore* const datastore = index_->datastore(disk.datastore);
    return datastore == nullptr || std::find(kCbtStorageTypes.begin(), kCbtStorageTypes.end(),
                                             datastore->storageType) != kCbtStorageTypes.end();
  });
}

std::size_t RestService::openSessions() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return sessions_.validCount();
}

void RestService::expireSessions() {
  const std::lock_guard<std::mutex> lock(mutex_);
  sessions_.expireAll();
}

void RestService::forgetSessions() {
  const std::lock_guard<std::mutex> lock(mutex_);
  sessions_.forgetAll();
}

std::optional<bool> RestService::cbtEnabled(const std::string& vmUri) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::string prefix = index_->uri("vms", "");
  if (vmUri.compare(0, prefix.size(), prefix) != 0) return std::nullopt;
  const Vm* const vm = index_->vm(std::string_view(vmUri).substr(prefix.size()));
  if (vm == nullptr) return std::nullopt;
  return vm->cbtEnabled && cbtDisabled_.count(vmUri) == 0;
}

Inventory RestService::inventory() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return currentInventory();
}

// The inventory with what requests have changed since it was set.
Inventory RestService::currentInventory() const {
  Inventory inventory = index_->inventory();
  for (Vm& vm : inventory.vms) {
    if (cbtDisabled_.count(index_->uri("vms", vm.id)) > 0) vm.cbtEnabled = false;
  }
  return inventory;
}

void RestService::changeInventory(const std::function<void(Inventory&)>& change) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Inventory inventory = currentInventory();
  change(inventory);
  serve(std::move(inventory));
}

void RestService::serve(Inventory inventory) {
  index_ = std::make_unique<const InventoryIndex>(std::move(inventory));
  datastoreTexts_.clear();
  cbtDisabled_.clear();
}

std::uint64_t RestService::sessionOf(const HttpRequest& request) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return sessions_.numberOf(request.header("X-Auth-Token"));
}

void RestService::limitSession(std::string_view token, std::uint64_t requests) {
  const std::lock_guard<std::mutex> lock(mutex_);
  sessions_.limit(token, requests);
}

std::string RestService::apply(const StateChange& change) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (change.killSessions) sessions_.forgetAll();
  for (User& user : users_) std::erase(user.roles, change.takeRole);
  if (change.siteAddress) siteAddress_ = change.siteAddress;
  if (!changesInventory(change)) return {};
  Inventory inventory = currentInventory();
  std::string complaint = changeInventoryAsAsked(inventory, change);
  serve(std::move(inventory));
  return complaint;
}

}  // namespace kestrelvisor::vrmsim
