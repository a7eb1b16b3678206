#pragma once

#include "kestrelctl/views/sink.h"

#include <json/json.h>

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// One document, an object, written as jsonText writes them, but handed on member by member and
// element by element: a large one never stands in memory whole.
class JsonDocument {
 public:
  explicit JsonDocument(const Sink& sink);

  // The members of an object.
  void addMembers(const Json::Value& object);

  // A member that is a list: for each entry of a range what element(entry) makes of it.
  template <class Range, class Element>
  void addList(const char* key, const Range& range, Element element) {
    beginList(key);
    for (const auto& entry : range) addElement(element(entry));
    endList();
  }

  // Hands on what is left. To be called once, after the last member.
  void finish();

 private:
  void beginMember(const std::string& key);
  void beginList(const char* key);
  void addElement(const Json::Value& value);
  void endList();
  // A value as it stands some columns further in.
  std::string written(const Json::Value& value, std::size_t indent);

  PieceBuffer pieces_;
  std::unique_ptr<Json::StreamWriter> writer_;
  std::ostringstream stream_;
  bool isEmpty_ = true;
  bool listIsEmpty_ = true;
};

}  // namespace kestrelvisor::ctl
