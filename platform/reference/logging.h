#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

namespace kestrelvisor {

// Where the records of LogProxy go. Levels: 0 trace, 1 info, 2 note, 3 warning, 4 error.

enum class LogFormat {
  // 2026-11-21T13:30:00.123Z WARN  KestrelVisorEngine [42] KestrelVisorEngine::DisableCBT():123
  // text
  // Time in UTC, level, tag, request id, function, source line, text. A result code other than 0
  // stands in front of the text as "(code 7) ". Control characters are escaped as \n, \x1b or
  // \u2028, so a text cannot forge a line; a byte that is not UTF-8 reads \xff.
  text,
  // One object for each line, with the keys time, level (a word), tag, request, function, line,
  // code
  // and text. A byte that is not UTF-8 becomes U+FFFD.
  json,
};

inline constexpr int kDefaultLogThreshold = 3;

struct LogOptions {
  int threshold = kDefaultLogThreshold;  // lowest level that is written; 5 and above: none
  LogFormat format = LogFormat::text;
  std::string file;  // appended to; folders are made; empty: standard error
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
  int level = 0;
  std::string tag;
  std::uint64_t requestId = 0;
  std::string function;
  int line = 0;
  int code = 0;      // the first integer of the statement; the engine's is 0
  std::string text;  // its pieces of type std::string without secrets
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

  static constexpr int kEveryLevel = std::numeric_limits<int>::min();

  explicit LogObserver(OnRecord onRecord, OnStatement onStatement = nullptr,
                       int lowestLevel = kEveryLevel);
  ~LogObserver();
  LogObserver(const LogObserver&) = delete;
  LogObserver& operator=(const LogObserver&) = delete;

  struct Callbacks {
    OnRecord onRecord;
    OnStatement onStatement;
    int lowestLevel;
  };

 private:
  std::shared_ptr<const Callbacks> callbacks_;
};

}  // namespace kestrelvisor
