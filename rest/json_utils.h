#pragma once

#include <json/json.h>

#include <memory>
#include <string>
#include <string_view>

class CJsonUtils {
 public:
  // Parses a whole text. Comments, trailing commas and trailing text are accepted.
  //
  // Returns false for every text that cannot be read, nesting beyond 200 levels included; root then
  // holds nothing of use. Throws std::bad_alloc alone.
  static bool StringToJson(const std::string& text, Json::Value& root) {
    Json::CharReaderBuilder builder;
    // The reader recurses: its own limit would need more stack than a host's thread may have.
    builder["stackLimit"] = kMaximumNesting;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
      return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    } catch (const Json::Exception&) {
      return false;  // nested too deeply
    }
  }

 private:
  static constexpr int kMaximumNesting = 200;
};

namespace kestrelvisor {

// Returns the value of a key, or null when the document is not an object or has no such key.
inline const Json::Value* findKey(const Json::Value& document, std::string_view key) {
  if (!document.isObject()) return nullptr;
  return document.find(key.data(), key.data() + key.size());
}

// Returns the document, or an empty one when it is not an object: such a document holds no key.
inline const Json::Value& asDocument(const Json::Value& document) {
  return document.isObject() ? document : Json::Value::nullSingleton();
}

}  // namespace kestrelvisor
