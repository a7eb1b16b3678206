#pragma once

#include <json/json.h>

#include <atomic>
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
      const BorrowedReader reader;
      return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    } catch (const Json::Exception& problem) {
      if (tellsOfNoMemory(problem)) throw std::bad_alloc();
      return false;  // nested too deeply
    }
  }

 private:
  static constexpr int kMaximumNesting = 200;

  // The reader of an earlier text, since the settings of one cost more than many a text. It goes
  // back after an exception too: each text finds it as a new one.
  class BorrowedReader {
   public:
    BorrowedReader() : reader_(idle_.exchange(nullptr)) {
      if (!reader_) reader_ = newReader();
    }
    ~BorrowedReader() { reader_.reset(idle_.exchange(reader_.release())); }
    BorrowedReader(const BorrowedReader&) = delete;
    BorrowedReader& operator=(const BorrowedReader&) = delete;

    Json::CharReader* operator->() const { return reader_.get(); }

   private:
    static std::unique_ptr<Json::CharReader> newReader() {
      Json::CharReaderBuilder builder;
      // The reader recurses: its own limit would need more stack than a host's thread may have.
      builder["stackLimit"] = kMaximumNesting;
      // Nobody asks for them, and the room of the longest would stay with the reader.
      builder["collectComments"] = false;
      return std::unique_ptr<Json::CharReader>(builder.newCharReader());
    }

    // Null while a thread has it; another one makes its own. It is never freed: texts are read at
    // process exit.
    static inline std::atomic<Json::CharReader*> idle_ = nullptr;

    std::unique_ptr<Json::CharReader> reader_;
  };

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
