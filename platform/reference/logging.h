#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace kestrelvisor {

// Where the records of LogProxy go. Levels: 0 trace, 1 info, 2 note, 3 warning, 4 error.

// How a record is written.
enum class LogFormat {
  // 2026-11-21T13:30:00.123Z WARN  TAG [42] KestrelVisorEngine::DisableCBT():123 text
  // Time in UTC, level, tag, request id, function, source line, text. A result code other than 0
  // stands in front of the text as "(code 7) ". Control characters are escaped as \n, \x1b or
  // \u2028, so a text cannot forge a line; a byte that is not UTF-8 reads \xff.
  text,
  // One object for each line, with the keys time, level (a word), tag, request, function, line,
  // code and text. A byte that is not UTF-8 becomes U+FFFD.
  json,
};

// Warnings and errors.
inline constexpr int kDefaultLogThreshold = 3;

// What configureLogging sets.
struct LogOptions {
  int threshold = kDefaultLogThreshold;  // lowest level that is written; 5 and above: none
  LogFormat format = LogFormat::text;    // of every line
  std::string file;                      // appended to; folders are made; empty: standard error
};

// Sets threshold, format and sink for all records that end from now on. Before the first call the
// defaults of LogOptions hold. Each line is handed to the system at once.
//
// Returns false and tells why in problem when the file cannot be opened; nothing is changed then.
bool configureLogging(const LogOptions& options, std::string& problem);

// Whether anybody wants records of that level: the threshold, or an observer. A statement of
// another level costs next to nothing.
bool isLogWanted(int level);

// One finished record, as an observer gets it.
struct LogRecord {
  int level = 0;                // 0 to 4
  std::string tag;              // the library or host that wrote it
  std::uint64_t requestId = 0;  // of the host's request, 0 outside one
  std::string function;         // the statement's, with its class
  int line = 0;                 // the statement's, in its source file
  int code = 0;                 // the first integer of the statement; the engine's is 0
  std::string text;             // its pieces of type std::string without secrets
};

// Sees every record of the process from lowestLevel on, whatever the threshold, from its
// construction to its end. What it sees has to be made and cleaned: it should not ask for levels
// that it does not look at.
//
// Several may exist at once; they are called in the order of construction, one record at a time.
// Destruction waits for a running callback of another thread, so a callback must not wait for a
// thread that logs. Statements inside a callback are not observed.
class LogObserver {
 public:
  // Called with a finished record, before it is written. What it throws is dropped: a statement of
  // the engine never fails by its end.
  using OnRecord = std::function<void(const LogRecord&)>;

  // Called when a statement starts, before any of its pieces. What it throws leaves the statement,
  // which is how tests see what an exception does at that place, and how a host can leave an
  // operation.
  using OnStatement = std::function<void(int level, std::string_view function)>;

  // Lower than any level.
  static constexpr int kEveryLevel = std::numeric_limits<int>::min();

  // Observes until it ends. Either function may be empty.
  explicit LogObserver(OnRecord onRecord, OnStatement onStatement = nullptr,
                       int lowestLevel = kEveryLevel);
  ~LogObserver();
  LogObserver(const LogObserver&) = delete;
  LogObserver& operator=(const LogObserver&) = delete;

  // What an observer was made of.
  struct Callbacks {
    OnRecord onRecord;        // empty: not called
    OnStatement onStatement;  // empty: not called
    int lowestLevel;          // records below it are not shown
  };

 private:
  std::shared_ptr<const Callbacks> callbacks_;
};

}  // namespace kestrelvisor
