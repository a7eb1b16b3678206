#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <utility>

// Outcome of one operation: 0 success, any other number a failure.
using EnvProxyStatus = std::int32_t;

// One detail of a result.
struct message {
  std::uint64_t detailId = 0;           // tells the host which text to show
  std::list<std::string> detailParams;  // what goes into that text, in order
};

// What an operation hands back to the host.
struct EnvProxyResult {
  EnvProxyStatus status = 0;          // 0 success
  std::list<message> details;         // what is to be told beyond the status, often nothing
  std::string text;                   // unused by this engine
  std::list<message> furtherDetails;  // unused by this engine

  // Appends one message with three parameters to details.
  void AddDetail(unsigned long id, std::string first, std::string second, std::string third) {
    message& detail = details.emplace_back();
    detail.detailId = id;
    detail.detailParams.push_back(std::move(first));
    detail.detailParams.push_back(std::move(second));
    detail.detailParams.push_back(std::move(third));
  }
};
