#include "kestrelctl/views/json_lines.h"

#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

Json::StreamWriterBuilder lineWriterBuilder() {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return builder;
}

}  // namespace

Json::Value jsonNumber(std::uint64_t number) { return static_cast<Json::UInt64>(number); }

Json::Value emptyJsonList() { return {Json::arrayValue}; }

Json::Value emptyJsonObject() { return {Json::objectValue}; }

JsonLines::JsonLines(const Sink& sink)
    : sink_(sink), writer_(lineWriterBuilder().newStreamWriter()) {}

void JsonLines::add(const char* record, const Json::Value& value) {
  line_.str({});
  writer_->write(value, &line_);
  // Keys are sorted; the one that tells what the line is belongs in front.
  lines_.append("{\"record\":\"").append(record).append("\",");
  lines_.append(harmlessJson(line_.str()), 1).append("\n");
  if (lines_.size() < kPiece) return;
  sink_(lines_);
  lines_.clear();
}

void JsonLines::finish() {
  if (!lines_.empty()) sink_(lines_);
}

}  // namespace kestrelvisor::ctl
