#pragma once

#include "vrmsim/options.h"

#include <fstream>
#include <string>

namespace kestrelvisor::vrmsim {

// One JSON object for one request, without a line's end. The values of X-Auth-Key and X-Auth-Token
// are replaced by a fingerprint that is the same for the same value.
std::string requestLogLine(const RecordedRequest& request);

// The same for a fault that hit a connection before its first request.
std::string requestLogLine(const ConnectionFault& fault);

// A file with one line for each request and each fault of a connection. Every line is in the file
// when write returns.
class RequestLog {
 public:
  // Throws std::runtime_error when the file cannot be opened.
  explicit RequestLog(const std::string& path);
  void write(const RecordedRequest& request) { writeLine(requestLogLine(request)); }
  void write(const ConnectionFault& fault) { writeLine(requestLogLine(fault)); }

 private:
  void writeLine(const std::string& line);

  std::ofstream file_;
};

}  // namespace kestrelvisor::vrmsim
