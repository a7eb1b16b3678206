#include "tests/rest/scripted_curl.h"

#include "platform/contract/security.h"

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstring>

namespace kestrelvisor::test {

using WriteCallback = std::size_t (*)(char*, std::size_t, std::size_t, void*);

struct Handle {
  std::map<CURLoption, long> numbers;
  WriteCallback write = nullptr;
  WriteCallback header = nullptr;
  void* writeData = nullptr;
  void* headerData = nullptr;
  long status = 0;
};

struct ScriptedCurl::State {
  std::map<void*, Handle> handles;
  // The length of each header that was appended, by its text's address.
  std::map<const char*, std::size_t> lengths;
};

namespace {

// The script in force; without one libcurl's own functions are called.
ScriptedCurl* active = nullptr;

bool runsOut(int& remaining) {
  if (remaining < 0) return false;
  return remaining-- == 0;
}

// Writes a piece with the token in the place of its mark; returns its size.
std::size_t expand(const std::string& piece, std::array<char, 512>& text) {
  const std::size_t mark = piece.find(kTokenMark);
  if (mark == std::string::npos) return piece.copy(text.data(), text.size());
  std::size_t size = piece.copy(text.data(), mark);
  size += kScriptedToken.copy(text.data() + size, text.size() - size);
  return size + piece.copy(text.data() + size, text.size() - size, mark + kTokenMark.size());
}

void deliver(const std::vector<std::string>& pieces, WriteCallback callback, void* target) {
  if (callback == nullptr) return;
  for (const std::string& piece : pieces) {
    std::array<char, 512> text;  // on the stack: the token must stand in no memory that is freed
    const std::size_t size = expand(piece, text);
    callback(text.data(), 1, size, target);
  }
}

Transfer nextTransfer() {
  if (active->transfers.empty()) return {CURLE_OK, 200, {}, {"{}"}};
  Transfer next = active->transfers.front();
  active->transfers.erase(active->transfers.begin());
  return next;
}

bool holdsText(const curl_slist* list) {
  for (; list != nullptr; list = list->next) {
    const std::size_t length = active->state->lengths[list->data];
    if (std::string(list->data, length) != std::string(length, '\0')) return true;
  }
  return false;
}

}  // namespace

ScriptedCurl::ScriptedCurl() : state(std::make_unique<State>()) { active = this; }

ScriptedCurl::~ScriptedCurl() { active = nullptr; }

}  // namespace kestrelvisor::test

void SecuritySS::enrichSSL(void* curl, std::string& cert) {
  kestrelvisor::test::active->enriched.push_back(cert);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 2L);
}

// What the linker puts in the place of libcurl's functions, and those themselves.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

CURL* __real_curl_easy_init();
void __real_curl_easy_cleanup(CURL* curl);
CURLcode __real_curl_easy_setopt(CURL* curl, CURLoption option, ...);
CURLcode __real_curl_easy_getinfo(CURL* curl, CURLINFO info, ...);
const char* __real_curl_easy_strerror(CURLcode result);
curl_slist* __real_curl_slist_append(curl_slist* list, const char* text);
void __real_curl_slist_free_all(curl_slist* list);

using namespace kestrelvisor::test;

CURL* __wrap_curl_easy_init() {
  if (active == nullptr) return __real_curl_easy_init();
  if (runsOut(active->handlesUntilFailure)) return nullptr;
  CURL* const curl = __real_curl_easy_init();
  ++active->handlesMade;
  active->state->handles[curl] = {};
  return curl;
}

void __wrap_curl_easy_cleanup(CURL* curl) {
  if (active != nullptr)
    active->handlesFreed += static_cast<int>(active->state->handles.erase(curl));
  __real_curl_easy_cleanup(curl);
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
  if (active != nullptr && curl != nullptr) {
    active->options.push_back(option);
    Handle& handle = active->state->handles[curl];
    if (isNumber) handle.numbers[option] = number;
    if (option == CURLOPT_WRITEFUNCTION) handle.write = reinterpret_cast<WriteCallback>(pointer);
    if (option == CURLOPT_HEADERFUNCTION) handle.header = reinterpret_cast<WriteCallback>(pointer);
    if (option == CURLOPT_WRITEDATA) handle.writeData = pointer;
    if (option == CURLOPT_HEADERDATA) handle.headerData = pointer;
  }
  if (isNumber) return __real_curl_easy_setopt(curl, option, number);
  return __real_curl_easy_setopt(curl, option, pointer);
}

CURLcode __wrap_curl_easy_perform(CURL* curl) {
  Handle& handle = active->state->handles.at(curl);
  active->performed.push_back(handle.numbers);
  const Transfer transfer = nextTransfer();
  handle.status = transfer.status;
  deliver(transfer.headers, handle.header, handle.headerData);
  deliver(transfer.body, handle.write, handle.writeData);
  return transfer.result;
}

CURLcode __wrap_curl_easy_getinfo(CURL* curl, int infoNumber, ...) {
  va_list arguments;
  va_start(arguments, infoNumber);
  const auto info = static_cast<CURLINFO>(infoNumber);
  void* const target = va_arg(arguments, void*);
  va_end(arguments);
  if (active == nullptr || info != CURLINFO_RESPONSE_CODE) {
    return __real_curl_easy_getinfo(curl, info, target);
  }
  *static_cast<long*>(target) = active->state->handles.at(curl).status;
  return CURLE_OK;
}

const char* __wrap_curl_easy_strerror(CURLcode result) {
  const bool scripted = active != nullptr && active->textOfResults.has_value();
  return scripted ? *active->textOfResults : __real_curl_easy_strerror(result);
}

curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* text) {
  if (active == nullptr) return __real_curl_slist_append(list, text);
  if (runsOut(active->appendsUntilFailure)) return nullptr;
  curl_slist* const longer = __real_curl_slist_append(list, text);
  if (longer == nullptr) return nullptr;
  if (list == nullptr) ++active->listsMade;
  const curl_slist* last = longer;
  while (last->next != nullptr) last = last->next;
  active->state->lengths[last->data] = std::strlen(text);
  return longer;
}

void __wrap_curl_slist_free_all(curl_slist* list) {
  if (active != nullptr && list != nullptr) {
    ++active->listsFreed;
    if (holdsText(list)) ++active->listsFreedWithTheirTexts;
  }
  __real_curl_slist_free_all(list);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
