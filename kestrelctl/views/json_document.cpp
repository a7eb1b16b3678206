#include "kestrelctl/views/json_document.h"

#include "kestrelctl/documents/json_text.h"
#include "kestrelctl/terminal_text.h"

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kMemberIndent = 2;
constexpr std::size_t kElementIndent = 4;

std::string lineEnd(std::size_t indent) { return "\n" + std::string(indent, ' '); }

}  // namespace

JsonDocument::JsonDocument(const Sink& sink)
    : pieces_(sink), writer_(jsonWriter(OutputFormat::json).newStreamWriter()) {
  pieces_.add("{");
}

void JsonDocument::addMembers(const Json::Value& object) {
  for (auto member = object.begin(); member != object.end(); ++member) {
    beginMember(member.name());
    const std::string value = written(*member, kMemberIndent);
    // What takes several lines begins on one of its own.
    const bool isLong = value.find('\n') != std::string::npos;
    pieces_.add(isLong ? lineEnd(kMemberIndent) + value : value);
  }
}

void JsonDocument::finish() {
  pieces_.add(isEmpty_ ? "}\n" : "\n}\n");
  pieces_.finish();
}

void JsonDocument::beginMember(const std::string& key) {
  pieces_.add((isEmpty_ ? "" : ",") + lineEnd(kMemberIndent) + "\"" + key + "\" : ");
  isEmpty_ = false;
}

void JsonDocument::beginList(const char* key) {
  beginMember(key);
  listIsEmpty_ = true;
}

void JsonDocument::addElement(const Json::Value& value) {
  pieces_.add(listIsEmpty_ ? lineEnd(kMemberIndent) + "[" : ",");
  pieces_.add(lineEnd(kElementIndent) + written(value, kElementIndent));
  listIsEmpty_ = false;
}

void JsonDocument::endList() { pieces_.add(listIsEmpty_ ? "[]" : lineEnd(kMemberIndent) + "]"); }

std::string JsonDocument::written(const Json::Value& value, std::size_t indent) {
  stream_.str({});
  writer_->write(value, &stream_);
  const std::string text = harmlessJson(stream_.str());
  std::string result;
  result.reserve(text.size() + text.size() / 2);
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    result += rest.substr(0, end);
    if (end == std::string_view::npos) break;
    result += lineEnd(indent);
    rest.remove_prefix(end + 1);
  }
  return result;
}

}  // namespace kestrelvisor::ctl
