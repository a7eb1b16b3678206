#pragma once

#include "vrmsim/fault_rule.h"
#include "vrmsim/http_message.h"
#include "vrmsim/inventory_index.h"
#include "vrmsim/options.h"
#include "vrmsim/sessions.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestrelvisor::vrmsim {

// The manager behind the socket: takes requests, gives replies. All public members may be called
// from any thread.
class RestService {
 public:
  explicit RestService(const SimulatorOptions& options);

  HttpReply answer(const HttpRequest& request);

  std::size_t openSessions() const;
  void expireSessions();
  void forgetSessions();
  std::optional<bool> cbtEnabled(const std::string& vmUri) const;
  Inventory inventory() const;
  void changeInventory(const std::function<void(Inventory&)>& change);

  // Which session, counted from 1, the request belongs to; 0: none that is known.
  std::uint64_t sessionOf(const HttpRequest& request) const;

  // Lets the session of that token expire after so many further requests.
  void limitSession(std::string_view token, std::uint64_t requests);

  // Does to the manager what a fault asks for, a session's limit excepted. Returns what could not
  // be done; empty: nothing.
  std::string apply(const StateChange& change);

 private:
  // A request on its way to its route: what the route's pattern left open, and the target's parts.
  struct Call {
    const HttpRequest& request;
    Target target;
    std::vector<std::string> arguments;
  };
  using Handler = HttpReply (RestService::*)(const Call&);
  struct Route {
    const char* method;
    std::vector<std::string_view> pattern;  // "*" stands for one segment, the first of them for a
                                            // site's id
    Handler handler;
    bool needsSession;
  };
  static const std::vector<Route>& routes();

  HttpReply dispatch(const Route& route, const Call& call);
  HttpReply refuseUnrouted(const HttpRequest& request, const std::string& allowed) const;
  std::optional<HttpReply> refusalOfSession(const HttpRequest& request);
  std::optional<HttpReply> refusalOfVersion(const HttpRequest& request) const;

  HttpReply listVersions(const Call& call);
  HttpReply logIn(const Call& call);
  HttpReply logOut(const Call& call);
  HttpReply listSites(const Call& call);
  HttpReply listClusters(const Call& call);
  HttpReply listHosts(const Call& call);
  HttpReply listDatastores(const Call& call);
  HttpReply listVms(const Call& call);
  HttpReply discoverVolumes(const Call& call);
  HttpReply listOsVersions(const Call& call);
  HttpReply disableCbt(const Call& call);

  const std::string& datastoreText(std::size_t position);
  bool cbtIsSupportedBelow(const Vm& vm) const;
  Inventory currentInventory() const;
  void serve(Inventory inventory);

  std::vector<User> users_;
  const std::vector<std::string> versions_;
  const std::chrono::milliseconds tokenValidity_;
  mutable std::mutex mutex_;
  Sessions sessions_;
  std::unique_ptr<const InventoryIndex> index_;
  std::vector<std::string> datastoreTexts_;  // JSON by position; empty: nobody has asked yet
  std::optional<std::string> siteAddress_;   // nothing: the one that the client reached
  std::set<std::string> cbtDisabled_;        // uris of the VMs for which a request switched it off
};

}  // namespace kestrelvisor::vrmsim
