#include "tests/fuzz/scripted_manager.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <memory>
#include <string>

namespace kestrelvisor::fuzz {
namespace {

constexpr std::string_view kSeparator = "\n----\n";
constexpr std::string_view kSessionPath = "/service/session";
constexpr std::string_view kLoginHead = "HTTP/1.1 200 OK\r\nX-Auth-Token: t\r\n\r\n";
constexpr std::string_view kLoginBody = R"({"validity":1800000,"roleList":["sysadmin"]})";

using WriteCallback = std::size_t (*)(char*, std::size_t, std::size_t, void*);

// What libcurl's handle is here. It is made and freed like the real one, so that a leak shows.
struct Handle {
  WriteCallback write = nullptr;
  WriteCallback header = nullptr;
  void* writeData = nullptr;
  void* headerData = nullptr;
  long status = 0;
  bool session = false;
  bool post = false;
};

ScriptedManager* active = nullptr;

// Reads at most three digits; 0 when there are none.
long numberAt(std::string_view text) {
  long number = 0;
  for (std::size_t i = 0; i < 3 && i < text.size(); ++i) {
    if (text[i] < '0' || text[i] > '9') break;
    number = number * 10 + (text[i] - '0');
  }
  return number;
}

// Takes a piece off the front of a text, up to and with the end.
std::string_view takeThrough(std::string_view& text, std::string_view end) {
  const std::size_t at = text.find(end);
  const std::size_t size = at == std::string_view::npos ? text.size() : at + end.size();
  const std::string_view piece = text.substr(0, size);
  text.remove_prefix(size);
  return piece;
}

Answer readAnswer(std::string_view text) {
  Answer answer;
  answer.body = text;
  if (text.starts_with("!")) {
    const std::string_view line = takeThrough(answer.body, "\n");
    answer.result = static_cast<CURLcode>(std::clamp(numberAt(line.substr(1)), 1L, 99L));
  } else if (text.starts_with("HTTP/")) {
    const std::size_t blank = text.find("\r\n\r\n");
    answer.head = takeThrough(answer.body, blank == std::string_view::npos ? "\n\n" : "\r\n\r\n");
    std::string_view line = answer.head;
    takeThrough(line, " ");
    answer.status = numberAt(line);
  }
  return answer;
}

// Calls a callback as libcurl does: never with nothing, never with more than a part.
void deliver(std::string_view text, WriteCallback callback, void* target) {
  if (callback == nullptr) return;
  const std::size_t part = text.size() / 2 + 1;
  for (; !text.empty(); text.remove_prefix(std::min(part, text.size()))) {
    const std::string_view piece = text.substr(0, part);
    callback(const_cast<char*>(piece.data()), 1, piece.size(), target);
  }
}

}  // namespace

ScriptedManager::ScriptedManager(std::string_view text, Sessions sessions, int transfersUntilGone)
    : rest_(text), sessions_(sessions), transfersUntilGone_(transfersUntilGone) {
  active = this;
}

ScriptedManager::~ScriptedManager() { active = nullptr; }

Answer ScriptedManager::next(bool session, bool opensSession) {
  if (session && !opensSession) return {CURLE_OK, 200, {}, "{}"};
  if (session && sessions_ == Sessions::granted) return {CURLE_OK, 200, kLoginHead, kLoginBody};
  return take();
}

Answer ScriptedManager::take() {
  if (++transfers_ > transfersUntilGone_) return {CURLE_COULDNT_CONNECT, 0, {}, {}};
  if (rest_.empty() && transfers_ > 1) return last_;
  std::string_view text = takeThrough(rest_, kSeparator);
  if (text.ends_with(kSeparator)) text.remove_suffix(kSeparator.size());
  return last_ = readAnswer(text);
}

}  // namespace kestrelvisor::fuzz

// What the linker puts in the place of libcurl's functions.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

using kestrelvisor::fuzz::Answer;
using kestrelvisor::fuzz::Handle;
using kestrelvisor::fuzz::WriteCallback;

CURL* __wrap_curl_easy_init() { return std::make_unique<Handle>().release(); }

void __wrap_curl_easy_cleanup(CURL* curl) {
  const std::unique_ptr<Handle> handle(static_cast<Handle*>(curl));
}

// The last named parameter of both is a number: va_start must not be given one that is promoted.
CURLcode __wrap_curl_easy_setopt(CURL* curl, int optionNumber, ...) {
  va_list arguments;
  va_start(arguments, optionNumber);
  const auto option = static_cast<CURLoption>(optionNumber);
  const bool isNumber = option < CURLOPTTYPE_OBJECTPOINT;
  const long number = isNumber ? va_arg(arguments, long) : 0;
  void* const pointer = isNumber ? nullptr : va_arg(arguments, void*);
  va_end(arguments);
  auto& handle = *static_cast<Handle*>(curl);
  if (option == CURLOPT_WRITEFUNCTION) handle.write = reinterpret_cast<WriteCallback>(pointer);
  if (option == CURLOPT_HEADERFUNCTION) handle.header = reinterpret_cast<WriteCallback>(pointer);
  if (option == CURLOPT_WRITEDATA) handle.writeData = pointer;
  if (option == CURLOPT_HEADERDATA) handle.headerData = pointer;
  if (option == CURLOPT_POST) handle.post = number != 0;
  if (option == CURLOPT_URL) {
    handle.session = std::string_view(static_cast<const char*>(pointer))
                         .ends_with(kestrelvisor::fuzz::kSessionPath);
  }
  return CURLE_OK;
}

CURLcode __wrap_curl_easy_perform(CURL* curl) {
  auto& handle = *static_cast<Handle*>(curl);
  const Answer answer = kestrelvisor::fuzz::active->next(handle.session, handle.post);
  handle.status = answer.status;
  kestrelvisor::fuzz::deliver(answer.head, handle.header, handle.headerData);
  kestrelvisor::fuzz::deliver(answer.body, handle.write, handle.writeData);
  return answer.result;
}

CURLcode __wrap_curl_easy_getinfo(CURL* curl, int infoNumber, ...) {
  va_list arguments;
  va_start(arguments, infoNumber);
  long* const target = va_arg(arguments, long*);
  va_end(arguments);
  if (infoNumber != CURLINFO_RESPONSE_CODE) return CURLE_UNKNOWN_OPTION;
  *target = static_cast<const Handle*>(curl)->status;
  return CURLE_OK;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
