#pragma once

#include <json/json.h>

#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

class CJsonUtils {
 public:
  // Parses a whole text. Comments, trailing commas and trailing text are accepted.
  //
  // Returns false for every text that cannot be read, nesting beyond 200 levels included; root then
  // holds nothing of use. Throws std::bad_alloc alone.
  static bool StringToJson(const std::string& text, Json::Value& root) {
    try {
      Json::CharReaderBuilder builder;
      // The reader recurses: its own limit would need more stack than a host's thread may have.
      builder["stackLimit"] = kMaximumNesting;
      const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
      return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    } catch (const Json::Exception& problem) {
      if (tellsOfNoMemory(problem)) throw std::bad_alloc();
      return false;  // nested too deeply
    }
  }

 private:
  static constexpr int kMaximumNesting = 200;

  // JsonCpp has one exception for both: only its text tells that a string found no memory.
  static bool tellsOfNoMemory(const Json::Exception& problem) {
    return std::string_view(problem.what()).find("Failed to allocate") != std::string_view::npos;
  }
};

namespace kestrelvisor {

// Returns the value of a key, or null when the document is not an object or has no such key.
inline const Json::Value* findKey(const Json::Value& document, std::string_view key) {
  if (!document.isObject()) return nullptr;
  return document.find(key.data(), key.data() + key.size());
}

// Writes a value as text, as Json::writeString does.
//
// Throws std::bad_alloc when there is no memory, where that one returns a part of the text.
inline std::string writeJson(const Json::StreamWriterBuilder& builder, const Json::Value& value) {
  std::ostringstream text;
  const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
  writer->write(value, &text);
  if (!text) throw std::bad_alloc();
  return text.str();
}

// Returns the document, or an empty one when it is not an object: such a document holds no key.
inline const Json::Value& asDocument(const Json::Value& document) {
  return document.isObject() ? document : Json::Value::nullSingleton();
}

}  // namespace kestrelvisor
