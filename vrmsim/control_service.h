#pragma once

#include "vrmsim/fault_plan.h"
#include "vrmsim/http_message.h"
#include "vrmsim/http_server.h"
#include "vrmsim/rest_service.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kestrelvisor::vrmsim {

// The endpoint by which a running simulator is told what to do wrong. Lives on the server's thread.
class ControlService {
 public:
  // Rules that come in are handed to add, which takes all of them or throws FaultRuleError.
  ControlService(FaultPlan& plan, RestService& service,
                 std::function<void(std::vector<FaultRule>)> add,
                 std::function<Handshakes()> handshakes);

  HttpReply answer(const HttpRequest& request);

  // Tells it of a request to the manager.
  void countRequest(const HttpRequest& request);

 private:
  struct Route;
  static const std::vector<Route>& routes();

  HttpReply listFaults(const HttpRequest& request);
  HttpReply addFaults(const HttpRequest& request);
  HttpReply removeFaults(const HttpRequest& request);
  HttpReply killSessions(const HttpRequest& request);
  HttpReply expireSessions(const HttpRequest& request);
  HttpReply countRequests(const HttpRequest& request);
  HttpReply countHandshakes(const HttpRequest& request);
  HttpReply tellCounters(const HttpRequest& request);

  FaultPlan& plan_;
  RestService& service_;
  const std::function<void(std::vector<FaultRule>)> add_;
  const std::function<Handshakes()> handshakes_;
  std::uint64_t connections_ = 0;                  // up to the newest that has made a request
  std::map<std::string, std::uint64_t> requests_;  // by method
};

}  // namespace kestrelvisor::vrmsim
