#include "vrmsim/simulator.h"

#include "vrmsim/certificate_matrix.h"
#include "vrmsim/control_service.h"
#include "vrmsim/fault_plan.h"
#include "vrmsim/fault_script.h"
#include "vrmsim/http_server.h"
#include "vrmsim/inventory_change.h"
#include "vrmsim/inventory_file.h"
#include "vrmsim/rest_service.h"

#include <mutex>
#include <optional>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

constexpr std::uint64_t kUsualSeed = 1;
constexpr const char* kControlAddress = "127.0.0.1";
constexpr const char* kTokenHeader = "X-Auth-Token";

std::optional<TlsIdentity> identityFor(const SimulatorOptions& options) {
  if (!options.tls) return std::nullopt;
  const bool selfSigned = options.certificate.empty();
  TlsIdentity identity = selfSigned
                             ? makeSelfSignedIdentity(options.bindAddress)
                             : certificateCase(options.certificate).make(options.bindAddress);
  identity.resumesSessions = options.tlsResumption.value_or(selfSigned);
  if (options.tlsVersion) identity.oldestVersion = identity.newestVersion = *options.tlsVersion;
  return identity;
}

}  // namespace

struct Simulator::Impl {
  explicit Impl(SimulatorOptions chosen)
      : options(std::move(chosen)),
        identity(identityFor(options)),
        service(options),
        plan(options.faultSeed.value_or(kUsualSeed)),
        control(
            plan, service, [this](auto rules) { addFaults(std::move(rules)); },
            [this] { return server->handshakes(); }) {
    options.inventory = {};  // the service has its own
    addFaults(std::move(options.faults));
    server.emplace(endpoints());
  }

  // All of them, or none when one cannot be used.
  void addFaults(std::vector<FaultRule> rules) {
    for (const FaultRule& rule : rules) check(rule);
    for (FaultRule& rule : rules) plan.add(std::move(rule));
  }

  void check(const FaultRule& rule) const {
    const FaultMoment moment = rule.moment();
    const bool inTls = moment == FaultMoment::kHello || moment == FaultMoment::kHandshake;
    if (inTls && !options.tls) {
      throw FaultRuleError("fault rule '" + rule.text +
                           "': there is no TLS handshake over plain HTTP; serve TLS, or let the "
                           "fault come at accept or request");
    }
    if (rule.state.inventoryPatch.empty()) return;
    try {
      patchedInventory(service.inventory(), rule.state.inventoryPatch);
    } catch (const InventoryError& error) {
      throw FaultRuleError("fault rule '" + rule.text +
                           "': the inventory cannot be edited so: " + error.what());
    }
  }

  std::vector<HttpServer::Endpoint> endpoints() {
    std::vector<HttpServer::Endpoint> made;
    made.push_back(
        {options.bindAddress, options.port, identity,
         [this](const HttpRequest& request, bool keepAlive) { return answer(request, keepAlive); },
         [this](FaultMoment moment, const HttpRequest& origin) {
           return interrupt(moment, origin);
         }});
    if (!options.controlPort) return made;
    made.push_back({kControlAddress, *options.controlPort, std::nullopt,
                    [this](const HttpRequest& request, bool keepAlive) {
                      return scriptOf(control.answer(request), keepAlive);
                    },
                    nullptr});
    return made;
  }

  Script answer(const HttpRequest& request, bool keepAlive) {
    control.countRequest(request);
    auto hit = plan.next(FaultMoment::kRequest, request, service.sessionOf(request));
    if (!hit) {
      const HttpReply reply = service.answer(request);
      record(request, reply, "");
      return scriptOf(reply, keepAlive);
    }
    const FaultRule& rule = *hit->rule;
    const std::string undone = service.apply(rule.state);
    HttpReply reply = rule.standsIn() ? HttpReply() : service.answer(request);
    if (!undone.empty()) reply.complaint = "fault " + rule.name + ": " + undone;
    limitSession(rule.state, request, reply);
    Script script = scriptOf(rule, reply, keepAlive, hit->random);
    record(request, reply, rule.name);
    return script;
  }

  // The session is the one that the request has opened, or else the one that it uses.
  void limitSession(const StateChange& change, const HttpRequest& request, const HttpReply& reply) {
    if (!change.expireAfter) return;
    std::string_view token = request.header(kTokenHeader);
    for (const Header& header : reply.headers) {
      if (header.first == kTokenHeader) token = header.second;
    }
    service.limitSession(token, *change.expireAfter);
  }

  std::optional<Script> interrupt(FaultMoment moment, const HttpRequest& origin) {
    const auto hit = plan.next(moment, origin, 0);
    if (!hit) return std::nullopt;
    const FaultRule& rule = *hit->rule;
    service.apply(rule.state);
    if (options.onConnectionFault) {
      options.onConnectionFault({origin.connection, options.clock(), origin.tls,
                                 moment == FaultMoment::kAccept ? "accept" : "handshake",
                                 rule.name});
    }
    return interruptionOf(rule);
  }

  void record(const HttpRequest& request, const HttpReply& reply, const std::string& fault) {
    if (!options.keepJournal && !options.onRequest) return;
    RecordedRequest entry{
        ++sequence,     request.connection, options.clock(), request.tls,  request.method,
        request.target, request.headers,    request.body,    reply.status, reply.complaint,
        fault};
    if (options.onRequest) options.onRequest(entry);
    if (!options.keepJournal) return;
    const std::lock_guard<std::mutex> lock(journalMutex);
    journal.push_back(std::move(entry));
  }

  SimulatorOptions options;
  const std::optional<TlsIdentity> identity;
  RestService service;
  FaultPlan plan;
  ControlService control;
  std::uint64_t sequence = 0;
  mutable std::mutex journalMutex;
  std::vector<RecordedRequest> journal;
  std::optional<HttpServer> server;  // last: its thread uses all of the above
};

Simulator::Simulator(SimulatorOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

Simulator::~Simulator() = default;

std::uint16_t Simulator::port() const { return impl_->server->port(0); }

std::string Simulator::address() const { return impl_->options.bindAddress; }

std::string Simulator::url() const {
  const std::string& address = impl_->options.bindAddress;
  const bool bracketed = address.find(':') != std::string::npos;
  return std::string(impl_->options.tls ? "https://" : "http://") + (bracketed ? "[" : "") +
         address + (bracketed ? "]" : "") + ":" + std::to_string(port());
}

std::string Simulator::certificatePem() const {
  return impl_->identity ? impl_->identity->trustedPem : std::string();
}

std::uint64_t Simulator::handshakes() const { return impl_->server->handshakes().begun; }

std::uint64_t Simulator::resumedHandshakes() const { return impl_->server->handshakes().resumed; }

std::string Simulator::controlUrl() const {
  if (!impl_->options.controlPort) return {};
  return std::string("http://") + kControlAddress + ":" + std::to_string(impl_->server->port(1));
}

std::vector<RecordedRequest> Simulator::journal() const {
  const std::lock_guard<std::mutex> lock(impl_->journalMutex);
  return impl_->journal;
}

void Simulator::clearJournal() {
  const std::lock_guard<std::mutex> lock(impl_->journalMutex);
  impl_->journal.clear();
}

std::size_t Simulator::openSessions() const { return impl_->service.openSessions(); }

void Simulator::expireSessions() { impl_->service.expireSessions(); }

void Simulator::forgetSessions() { impl_->service.forgetSessions(); }

std::optional<bool> Simulator::cbtEnabled(const std::string& vmUri) const {
  return impl_->service.cbtEnabled(vmUri);
}

Inventory Simulator::inventory() const { return impl_->service.inventory(); }

void Simulator::changeInventory(const std::function<void(Inventory&)>& change) {
  impl_->service.changeInventory(change);
}

void Simulator::addFault(const std::string& rule) { impl_->addFaults({parseFaultRule(rule)}); }

void Simulator::addFault(FaultRule rule) { impl_->addFaults({std::move(rule)}); }

void Simulator::clearFaults() { impl_->plan.clear(); }

std::vector<FaultCount> Simulator::faults() const { return impl_->plan.counts(); }

std::vector<std::string> Simulator::unfiredFaults() const {
  std::vector<std::string> names;
  for (const FaultCount& fault : impl_->plan.counts()) {
    if (fault.hits == 0) names.push_back(fault.name);
  }
  return names;
}

void Simulator::answerOnce(const std::string& method, const std::string& path, std::uint32_t nth,
                           CannedAnswer answer) {
  impl_->addFaults({cannedAnswerRule(method, path, nth, std::move(answer))});
}

}  // namespace kestrelvisor::vrmsim
