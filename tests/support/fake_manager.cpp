#include "tests/support/fake_manager.h"

#include "platform/contract/helpers.h"
#include "platform/reference/password_cipher.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_headers.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace kestrelvisor::test {
namespace {

constexpr const char* kUser = "backup";
constexpr const char* kSessionTarget = "/service/session";
constexpr const char* kKey = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

Request parseRequest(const std::string& text) {
  Request request;
  const std::size_t head = text.find("\r\n\r\n");
  std::istringstream lines(text.substr(0, head));
  std::string line;
  std::getline(lines, line);
  std::istringstream(line) >> request.method >> request.target;
  while (std::getline(lines, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    request.headers.push_back(line);
  }
  request.body = text.substr(head + 4);
  return request;
}

std::string httpAnswer(int code, const std::string& headers, const std::string& body) {
  return "HTTP/1.1 " + std::to_string(code) + " Status\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string require(bool done, std::string text, const std::string& problem) {
  if (!done) throw std::runtime_error(problem);
  return text;
}

}  // namespace

Answer ok(const std::string& json) { return status(200, json); }

Answer status(int code, const std::string& body) { return {httpAnswer(code, "", body)}; }

Answer refusal(int code, const std::string& errorCode, const std::string& errorDes) {
  return status(code, R"({"errorCode":")" + errorCode + R"(","errorDes":")" + errorDes + R"("})");
}

Answer bytes(std::string raw) { return {std::move(raw)}; }

Answer hangUp() { return {}; }

Answer reset() { return {"", Answer::End::reset}; }

std::string Request::header(const std::string& name) const {
  for (const std::string& line : headers) {
    if (line.rfind(name + ":", 0) != 0) continue;
    const std::size_t start = line.find_first_not_of(' ', name.size() + 1);
    return start == std::string::npos ? "" : line.substr(start);
  }
  return "(none)";
}

std::string encryptedPassword() {
  std::string problem;
  if (!setPasswordKey(kKey, problem)) throw std::runtime_error(problem);
  std::string cipher;
  const bool encrypted = encryptPassword(kPassword, cipher, problem);
  return require(encrypted, cipher, problem);
}

FakeManager::FakeManager(std::string address) : address_(std::move(address)), listener_(address_) {
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  stopRead_ = Descriptor(pipe[0]);
  stopWrite_ = Descriptor(pipe[1]);
  thread_ = std::thread([this] { serve(); });
}

FakeManager::~FakeManager() {
  stopWrite_ = Descriptor();  // the other end becomes readable
  thread_.join();
  for (const std::string& line : unknown_)
    ADD_FAILURE() << "nobody told what to answer to " << line;
}

void FakeManager::serves(const std::string& method, const std::string& target, Answer answer) {
  const std::lock_guard lock(mutex_);
  always_[{method, target}] = std::move(answer);
}

void FakeManager::answers(const std::string& method, const std::string& target, int onCall,
                          Answer answer) {
  const std::lock_guard lock(mutex_);
  onCall_[{{method, target}, onCall}] = std::move(answer);
}

VRM_INFO FakeManager::connection() const {
  VRM_INFO vrm;
  SetDefaultValueForVRMInfo(vrm);
  vrm.vrmIp = address_;
  vrm.vrmPort = port();
  vrm.useHttps = 0;
  vrm.clientUsername = kUser;
  vrm.clientPassword = encryptedPassword();
  vrm.urn = "urn:sites:1";
  vrm.uri = "/service/sites/1";
  vrm.name = "site";
  vrm.restVersion = "1.2";
  return vrm;
}

EnvironmentPath FakeManager::path() const {
  EnvironmentPath path;
  path.add_hv_address(address_);
  path.add_port(port());
  path.add_protocol(1);
  path.add_username(kUser);
  path.add_password(encryptedPassword());
  path.add_cert("");
  return path;
}

std::vector<Request> FakeManager::journal() const {
  const std::lock_guard lock(mutex_);
  return journal_;
}

std::vector<std::string> FakeManager::lines() const {
  std::vector<std::string> lines;
  for (const Request& request : journal()) lines.push_back(request.line());
  return lines;
}

std::size_t FakeManager::connections() const {
  const std::lock_guard lock(mutex_);
  return connections_;
}

void FakeManager::serve() {
  for (;;) {
    std::array<pollfd, 2> waiting{{{listener_.get(), POLLIN, 0}, {stopRead_.get(), POLLIN, 0}}};
    if (poll(waiting.data(), waiting.size(), -1) < 0 || waiting[1].revents != 0) return;
    const Descriptor connection = listener_.accept();
    if (connection.valid()) serveOne(connection.get());
  }
}

void FakeManager::serveOne(int socket) {
  {
    const std::lock_guard lock(mutex_);
    ++connections_;
  }
  std::string text;
  if (!readRequest(socket, text)) return;
  const Answer answer = answerFor(parseRequest(text));
  sendAll(socket, answer.bytes);
  if (answer.end == Answer::End::reset) resetOnClose(socket);
  if (answer.end == Answer::End::silence) {
    pollfd stop{stopRead_.get(), POLLIN, 0};
    poll(&stop, 1, -1);
  }
}

Answer FakeManager::answerFor(const Request& request) {
  const std::lock_guard lock(mutex_);
  journal_.push_back(request);
  const Route route{request.method, request.target};
  const int call = ++calls_[route];
  if (const auto rule = onCall_.find({route, call}); rule != onCall_.end()) return rule->second;
  if (const auto rule = always_.find(route); rule != always_.end()) return rule->second;
  return defaultAnswer(request);
}

Answer FakeManager::defaultAnswer(const Request& request) {
  if (request.line() == std::string("POST ") + kSessionTarget) {
    const std::string token = std::string(kTokenPrefix) + std::to_string(++logins_);
    return bytes(httpAnswer(200, "X-Auth-Token: " + token + "\r\n",
                            R"({"validity":1800000,"roleList":["administrator"]})"));
  }
  if (request.line() == std::string("DELETE ") + kSessionTarget) return ok("{}");
  unknown_.push_back(request.line());
  return status(501, "nobody told what to answer");
}

}  // namespace kestrelvisor::test
