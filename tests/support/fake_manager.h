#pragma once

#include "base/vrm_info.h"
#include "environment.pb.h"
#include "tests/support/loopback_socket.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestrelvisor::test {

// What the fake manager does with one request.
struct Answer {
  enum class End { close, reset, silence };

  std::string bytes;     // sent as they are
  End end = End::close;  // silence: nothing more until the manager ends
};

// 200 with a JSON body.
Answer ok(const std::string& json);
// Any status; without a body the answer has none at all.
Answer status(int code, const std::string& body = "");
// Any status with a manager's error body.
Answer refusal(int code, const std::string& errorCode, const std::string& errorDes = "");
// Exactly these bytes, then the connection ends.
Answer bytes(std::string raw);
// The connection ends, or is reset, without a byte.
Answer hangUp();
Answer reset();

// One request as it came over the wire.
struct Request {
  std::string method;
  std::string target;
  std::vector<std::string> headers;  // whole lines in order, without their ends
  std::string body;

  std::string line() const { return method + " " + target; }
  // Value of a header by its exact name, or "(none)".
  std::string header(const std::string& name) const;
};

// A manager on a real socket that answers what a test tells it to. Logins succeed with a token of
// their own ("fake-session-token-1" and so on) and logouts with 200 unless the test says otherwise.
// A request that no rule covers fails the test.
class FakeManager {
 public:
  explicit FakeManager(std::string address = "127.0.0.1");
  ~FakeManager();
  FakeManager(const FakeManager&) = delete;
  FakeManager& operator=(const FakeManager&) = delete;

  // Answers each request with this method and exact target.
  void serves(const std::string& method, const std::string& target, Answer answer);
  // Answers the nth one, counted from 1, before the rule above is asked.
  void answers(const std::string& method, const std::string& target, int onCall, Answer answer);

  // A record that reaches this manager over plain HTTP, with site "/service/sites/1" and the
  // encrypted password, as an operation would hold it.
  VRM_INFO connection() const;
  // The request of a host for this manager.
  EnvironmentPath path() const;

  std::string address() const { return address_; }
  std::uint16_t port() const { return listener_.port(); }
  // All requests so far, in order.
  std::vector<Request> journal() const;
  // Their first lines: "GET /service/sites".
  std::vector<std::string> lines() const;
  std::size_t connections() const;

 private:
  void serve();
  void serveOne(int socket);
  Answer answerFor(const Request& request);
  Answer defaultAnswer(const Request& request);

  using Route = std::pair<std::string, std::string>;

  std::string address_;
  Listener listener_;
  Descriptor stopRead_;
  Descriptor stopWrite_;
  mutable std::mutex mutex_;
  std::map<Route, Answer> always_;
  std::map<std::pair<Route, int>, Answer> onCall_;
  std::map<Route, int> calls_;
  std::vector<Request> journal_;
  std::vector<std::string> unknown_;
  std::size_t connections_ = 0;
  int logins_ = 0;
  std::thread thread_;  // last: it uses all of the above
};

// The password of all fake managers, encrypted under a key that is set for this process.
std::string encryptedPassword();

}  // namespace kestrelvisor::test
