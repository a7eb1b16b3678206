#include "kestrelctl/views/json_lines.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {

JsonLines::JsonLines(const Sink& sink)
    : pieces_(sink), writer_(jsonWriter(OutputFormat::jsonl).newStreamWriter()) {}

void JsonLines::add(const char* record, const Json::Value& value) {
  stream_.str({});
  writer_->write(value, &stream_);
  // Keys are sorted; the one that tells what the line is belongs in front.
  pieces_.add("{\"record\":\"" + std::string(record) + "\",");
  pieces_.add(harmlessJson(stream_.str()).substr(1) + "\n");
}

}  // namespace kestrelvisor::ctl
