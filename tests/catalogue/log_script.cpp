#include "tests/catalogue/log_script.h"

#include "platform/reference/platform_tag.h"
#include "tests/support/test_headers.h"

#include <stdexcept>

namespace kestrelvisor::test {
namespace {

constexpr std::string_view kPlaceholder = "{}";
constexpr const char* kSession = "/service/session";
constexpr const char* kValidTime = "1800";

std::string fill(std::string_view pattern, const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) {
    const std::size_t hole = pattern.find(kPlaceholder);
    if (hole == std::string_view::npos) throw std::logic_error("too many pieces: " + value);
    text.append(pattern.substr(0, hole)).append(value);
    pattern.remove_prefix(hole + kPlaceholder.size());
  }
  if (pattern.find(kPlaceholder) != std::string_view::npos) {
    throw std::logic_error("too few pieces: " + std::string(pattern));
  }
  return text.append(pattern);
}

// Of a template's member GCC writes the parameter and clang the type.
std::string commonName(const std::string& function) {
  const std::string_view instantiated =
      "ProtoBufferUtility<kestrelVisor_TreeNode>::dumpToTreeTable()";
  return function == instantiated ? "ProtoBufferUtility<T>::dumpToTreeTable()" : function;
}

std::string row(int level, std::string_view tag, std::uint64_t request, std::string_view function,
                int code, std::string_view text) {
  std::ostringstream row;
  row << level << ' ' << tag << " [" << request << "] " << function << " (" << code << ") |" << text
      << "|\n";
  return row.str();
}

}  // namespace

Script::Script(const VRM_INFO& vrm)
    : base_("http://" + vrm.vrmIp + ":" + std::to_string(vrm.vrmPort)), address_(vrm.vrmIp) {}

Script& Script::line(std::string_view id, std::vector<std::string> values) {
  const ToldLine& told = toldLine(id);
  const std::uint64_t request = id == "init" ? 0 : kRequestId;  // the host has no request yet
  text_ += row(told.level, told.tag, request, told.function, 0, fill(told.text, values));
  ids_.emplace(id);
  return *this;
}

Script& Script::assembled(const std::string& path) {
  line("header.accept", {"Accept: application/json;version=1.2; charset=UTF-8"});
  line("header.content", {"Content-Type: application/json; charset=UTF-8"});
  return line("transfer.url", {url(path)});
}

Script& Script::answered(const std::string& path, const std::string& body,
                         const std::string& status) {
  return assembled(path).line("answer", {body, status});
}

Script& Script::refused(const std::string& path) {
  assembled(path);
  line("answer.refused", {"getResponse", "500", "other error"});
  line("exchange.refused", {url(path)});
  return line("request.failed");
}

Script& Script::queryRefused(const std::string& path) { return refused(path).sessionEnded(); }

Script& Script::loginAsked() {
  return line("token.none", {address_}).line("token.login", {"1.2"}).loginPosted();
}

Script& Script::loginPosted() {
  line("header.accept", {"Accept: application/json;version=1.2; charset=UTF-8"});
  line("header.version", {"version=1.2; charset=UTF-8"});
  line("header.contentVersion", {"Content-Type: application/json; version=1.2; charset=UTF-8"});
  line("header.language", {"Accept-Language:en_US"});
  return line("transfer.url", {url(kSession)});
}

Script& Script::loggedIn() { return loginAsked().loginTaken(); }

Script& Script::loginTaken(std::int64_t now) {
  line("token.clock", {std::to_string(now)});
  return line("login.role", {"administrator"}).line("token.loggedIn");
}

Script& Script::sessionReused() {
  const std::string now = std::to_string(kNow);
  return line("token.clock", {now}).line("token.age", {kValidTime, now, now});
}

Script& Script::sessionEnded() { return answered(kSession, "{}"); }

Script& Script::loggedOut() {
  return line("logout.start", {address_}).sessionEnded().line("logout.done", {address_});
}

std::string Script::text() const { return text_; }

std::string textOf(std::span<const LogRecord> records) {
  std::string text;
  for (const LogRecord& record : records) {
    if (record.tag == kPlatformTag) continue;
    text += row(record.level, record.tag, record.requestId, commonName(record.function),
                record.code, record.text);
  }
  return text;
}

}  // namespace kestrelvisor::test
