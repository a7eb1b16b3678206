#include "vrmsim/control_service.h"

#include "vrmsim/json_text.h"

#include <algorithm>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

HttpReply good(JsonText& body) {
  HttpReply reply;
  reply.body = body.take() + "\n";
  return reply;
}

HttpReply refusal(int status, const std::string& why) {
  JsonText body;
  body.open('{').member("error", why).close('}');
  HttpReply reply = good(body);
  reply.status = status;
  return reply;
}

HttpReply told(const char* name, std::uint64_t number) {
  JsonText body;
  body.open('{').member(name, number).close('}');
  return good(body);
}

}  // namespace

struct ControlService::Route {
  const char* method;
  const char* path;
  HttpReply (ControlService::*handler)(const HttpRequest&);
};

ControlService::ControlService(FaultPlan& plan, RestService& service,
                               std::function<void(std::vector<FaultRule>)> add,
                               std::function<Handshakes()> handshakes)
    : plan_(plan), service_(service), add_(std::move(add)), handshakes_(std::move(handshakes)) {}

const std::vector<ControlService::Route>& ControlService::routes() {
  static const std::vector<Route> kRoutes{
      {"GET", "/faults", &ControlService::listFaults},
      {"POST", "/faults", &ControlService::addFaults},
      {"DELETE", "/faults", &ControlService::removeFaults},
      {"POST", "/sessions/kill", &ControlService::killSessions},
      {"POST", "/sessions/expire", &ControlService::expireSessions},
      {"GET", "/requests", &ControlService::countRequests},
      {"GET", "/handshakes", &ControlService::countHandshakes},
      {"GET", "/counters", &ControlService::tellCounters},
  };
  return kRoutes;
}

HttpReply ControlService::answer(const HttpRequest& request) {
  if (!request.defect.empty()) return refusal(400, "unreadable request: " + request.defect);
  std::string served;
  for (const Route& route : routes()) {
    if (request.method == route.method && request.target == route.path) {
      return (this->*route.handler)(request);
    }
    served += std::string(served.empty() ? "" : ", ") + route.method + " " + route.path;
  }
  return refusal(404, "nobody serves " + request.method + " " + request.target +
                          "; what is served: " + served);
}

HttpReply ControlService::listFaults(const HttpRequest&) {
  JsonText body;
  body.open('{').key("faults").open('[');
  for (const FaultCount& fault : plan_.counts()) {
    body.open('{').member("name", fault.name).member("rule", fault.rule);
    body.member("hits", fault.hits).close('}');
  }
  body.close(']').close('}');
  return good(body);
}

HttpReply ControlService::addFaults(const HttpRequest& request) {
  try {
    FaultDocument document = parseFaultDocument(request.body);
    if (document.seed) return refusal(400, "\"seed\": a running simulator keeps its seed");
    const std::size_t count = document.rules.size();
    add_(std::move(document.rules));
    return told("added", count);
  } catch (const FaultRuleError& error) {
    return refusal(400, error.what());
  }
}

HttpReply ControlService::removeFaults(const HttpRequest&) {
  const std::size_t count = plan_.counts().size();
  plan_.clear();
  return told("removed", count);
}

HttpReply ControlService::killSessions(const HttpRequest&) {
  const std::size_t count = service_.openSessions();
  service_.forgetSessions();
  return told("killed", count);
}

HttpReply ControlService::expireSessions(const HttpRequest&) {
  const std::size_t count = service_.openSessions();
  service_.expireSessions();
  return told("expired", count);
}

void ControlService::countRequest(const HttpRequest& request) {
  connections_ = std::max(connections_, request.connection);
  ++requests_[request.method];
}

HttpReply ControlService::countRequests(const HttpRequest&) {
  std::uint64_t all = 0;
  for (const auto& [method, count] : requests_) all += count;
  return told("requests", all);
}

HttpReply ControlService::tellCounters(const HttpRequest&) {
  JsonText body;
  body.open('{').member("connections", connections_).key("requests").open('{');
  for (const auto& [method, count] : requests_) body.foreignKey(method).value(count);
  body.close('}').close('}');
  return good(body);
}

HttpReply ControlService::countHandshakes(const HttpRequest&) {
  const Handshakes count = handshakes_();
  JsonText body;
  body.open('{').member("handshakes", count.begun).member("resumed", count.resumed).close('}');
  return good(body);
}

}  // namespace kestrelvisor::vrmsim
