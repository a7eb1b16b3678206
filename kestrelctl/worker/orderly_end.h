#pragma once

#include <string_view>

namespace kestrelvisor::ctl {

// Lets SIGTERM end the engine's operation, which blocks its thread, in such a way that the engine
// still knows its sessions and logs out when the process ends. While an object lives
// - the signal cuts the connections of this process, so that the transfer that is going on fails at
//   once; sent again it cuts what was connected since;
// - leaveOperation, called with each log statement of the engine, throws where the engine gives up
//   a transfer or looks for a session: none is opened or forgotten by that.
// From the end of the object on the signal does nothing: the logouts go undisturbed.
//
// One at a time in a process, on the thread that runs the engine.
class OrderlyEnd {
 public:
  OrderlyEnd();
  ~OrderlyEnd();
  OrderlyEnd(const OrderlyEnd&) = delete;
  OrderlyEnd& operator=(const OrderlyEnd&) = delete;

  // While a logout is on its way neither it nor the operation is cut short.
  static void spareLogout(bool loggingOut);

  // function is the name of the statement's function. Throws a Failure.
  static void leaveOperation(std::string_view function);
};

}  // namespace kestrelvisor::ctl
