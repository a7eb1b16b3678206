#include "kestrelctl/worker/orderly_end.h"

#include "kestrelctl/failure.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>

namespace kestrelvisor::ctl {
namespace {

// The process may open no more, see WorkerProcess.
constexpr int kFirstDescriptor = 3;
constexpr int kLastDescriptor = 255;

// Where an operation can be left.
constexpr std::array<std::string_view, 3> kWaysOut{"KestrelVisor_rest_api::processPerformNotOK()",
                                                   "KestrelVisor_rest_api::getTokenFromMap()",
                                                   "IsKestrelVisorCertTokenValid()"};

// Shared with the signal's handler.
std::atomic<bool> isRunning = false;
std::atomic<bool> isWanted = false;
std::atomic<bool> isSparing = false;
static_assert(std::atomic<bool>::is_always_lock_free);

bool isConnection(int descriptor) {
  int type = 0;
  socklen_t size = sizeof type;
  if (getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0) return false;
  sockaddr_storage address{};
  size = sizeof address;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return false;
  const bool overIp = address.ss_family == AF_INET || address.ss_family == AF_INET6;
  return type == SOCK_STREAM && overIp;
}

// Makes only calls that a signal may interrupt anything for.
extern "C" void cutConnections(int) {
  const int before = errno;
  isWanted = true;
  for (int descriptor = kFirstDescriptor; descriptor <= kLastDescriptor && !isSparing;
       ++descriptor) {
    if (isConnection(descriptor)) shutdown(descriptor, SHUT_RDWR);
  }
  errno = before;
}

void onTermination(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

OrderlyEnd::OrderlyEnd() {
  isRunning = true;
  onTermination(cutConnections);
}

OrderlyEnd::~OrderlyEnd() {
  onTermination(SIG_IGN);
  isRunning = false;
}

void OrderlyEnd::spareLogout(bool loggingOut) { isSparing = loggingOut; }

void OrderlyEnd::leaveOperation(std::string_view function) {
  if (!isWanted || !isRunning || isSparing || std::uncaught_exceptions() > 0) return;
  if (std::find(kWaysOut.begin(), kWaysOut.end(), function) == kWaysOut.end()) return;
  throw Failure(ExitCode::unreadableAnswer, "the operation was ended from outside by SIGTERM");
}

}  // namespace kestrelvisor::ctl
