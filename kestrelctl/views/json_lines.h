#pragma once

#include "kestrelctl/views/sink.h"

#include <json/json.h>

#include <memory>
#include <sstream>

namespace kestrelvisor::ctl {

// Documents on a line each, handed on in pieces of a fair size.
class JsonLines {
 public:
  explicit JsonLines(const Sink& sink);

  // value is an object with at least one key; "record" comes first on its line.
  void add(const char* record, const Json::Value& value);
  // Hands on what is left. To be called once, after the last line.
  void finish() { pieces_.finish(); }

 private:
  PieceBuffer pieces_;
  std::unique_ptr<Json::StreamWriter> writer_;
  std::ostringstream stream_;
};

}  // namespace kestrelvisor::ctl
