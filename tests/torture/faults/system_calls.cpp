#include "tests/torture/faults/system_calls.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kestrelvisor::torture {
namespace {

constexpr std::size_t kMostRequests = 256;
constexpr std::size_t kLongestLine = 256;

struct State {
  FaultCounter faults;
  const CallFault* fault = nullptr;
  bool noting = false;
  std::size_t requests = 0;
};
constinit thread_local State state;
constinit std::array<std::array<char, kLongestLine>, kMostRequests> lines{};

// The fault that this call has to suffer; null: none.
const CallFault* faultOf(Call call) {
  if (state.fault == nullptr || state.fault->call != call) return nullptr;
  return state.faults.failsNow() ? state.fault : nullptr;
}

bool isSocket(int handle) {
  int type = 0;
  socklen_t size = sizeof type;
  return getsockopt(handle, SOL_SOCKET, SO_TYPE, &type, &size) == 0;
}

long fail(int error) {
  errno = error;
  return -1;
}

void noteRequest(const void* bytes, std::size_t size) {
  if (!state.noting || state.requests == kMostRequests) return;
  const std::string_view text(static_cast<const char*>(bytes), size);
  constexpr std::array<std::string_view, 4> kVerbs{"GET ", "POST ", "DELETE ", "PUT "};
  if (std::none_of(kVerbs.begin(), kVerbs.end(),
                   [&](std::string_view verb) { return text.starts_with(verb); })) {
    return;
  }
  std::array<char, kLongestLine>& line = lines[state.requests++];
  const std::size_t length = std::min({text.find('\r'), text.size(), kLongestLine - 1});
  std::memcpy(line.data(), text.data(), length);
  line[length] = '\0';
}

long sendOn(int handle, const void* bytes, std::size_t size, int flags) {
  const CallFault* const fault = faultOf(Call::send);
  if (fault != nullptr && fault->error != CallFault::kOneByte) return fail(fault->error);
  noteRequest(bytes, size);
  if (fault != nullptr) size = std::min<std::size_t>(size, 1);
  return syscall(SYS_sendto, handle, bytes, size, flags, nullptr, 0);
}

long receiveFrom(int handle, void* bytes, std::size_t size, int flags) {
  if (const CallFault* const fault = faultOf(Call::receive)) {
    if (fault->error == CallFault::kEndOfData) return 0;
    if (fault->error != CallFault::kOneByte) return fail(fault->error);
    size = std::min<std::size_t>(size, 1);
  }
  return syscall(SYS_recvfrom, handle, bytes, size, flags, nullptr, nullptr);
}

}  // namespace

const char* nameOf(Call call) {
  constexpr std::array<const char*, 4> kNames{"connect", "send", "recv", "poll"};
  return kNames[static_cast<std::size_t>(call)];
}

void SystemCalls::arm(const CallFault& fault, const FaultPlan& plan) {
  state.fault = &fault;
  state.faults.arm(plan);
}

FaultCount SystemCalls::disarm() {
  state.fault = nullptr;
  return state.faults.disarm();
}

void SystemCalls::noteRequests() {
  state.noting = true;
  state.requests = 0;
}

std::size_t SystemCalls::requestCount() { return state.requests; }

std::string_view SystemCalls::request(std::size_t place) { return lines[place].data(); }

}  // namespace kestrelvisor::torture

using kestrelvisor::torture::Call;
using kestrelvisor::torture::faultOf;

extern "C" {

int connect(int handle, const sockaddr* address, socklen_t size) {
  if (const auto* const fault = faultOf(Call::connect)) {
    return static_cast<int>(kestrelvisor::torture::fail(fault->error));
  }
  return static_cast<int>(syscall(SYS_connect, handle, address, size));
}

int poll(pollfd* handles, nfds_t count, int timeout) {
  if (const auto* const fault = faultOf(Call::poll)) {
    return static_cast<int>(kestrelvisor::torture::fail(fault->error));
  }
  return static_cast<int>(syscall(SYS_poll, handles, count, timeout));
}

ssize_t send(int handle, const void* bytes, std::size_t size, int flags) {
  return kestrelvisor::torture::sendOn(handle, bytes, size, flags);
}

ssize_t recv(int handle, void* bytes, std::size_t size, int flags) {
  return kestrelvisor::torture::receiveFrom(handle, bytes, size, flags);
}

ssize_t write(int handle, const void* bytes, std::size_t size) {
  if (kestrelvisor::torture::isSocket(handle)) {
    return kestrelvisor::torture::sendOn(handle, bytes, size, 0);
  }
  return syscall(SYS_write, handle, bytes, size);
}

ssize_t read(int handle, void* bytes, std::size_t size) {
  if (kestrelvisor::torture::isSocket(handle)) {
    return kestrelvisor::torture::receiveFrom(handle, bytes, size, 0);
  }
  return syscall(SYS_read, handle, bytes, size);
}

}  // extern "C"
