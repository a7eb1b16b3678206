#pragma once

#include <string_view>

namespace kestrelvisor::ctl {

// Whether the request of a transfer that failed may have reached the manager. text is what the
// engine logs of it: "Invoke sendMassage failed, error code is 2002(Recv failure.)".
bool mayHaveArrived(std::string_view text);

}  // namespace kestrelvisor::ctl
