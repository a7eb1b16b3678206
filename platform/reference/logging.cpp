#include "platform/reference/logging.h"

#include "platform/contract/log.h"
#include "platform/reference/clock.h"
#include "platform/reference/log_line.h"
#include "platform/reference/redaction.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <locale>
#include <mutex>
#include <new>
#include <sstream>
#include <utility>
#include <vector>

namespace kestrelvisor {
namespace {

using CallbackList = std::vector<std::shared_ptr<const LogObserver::Callbacks>>;

// Our line is complete: spdlog adds its end, guards the sink and flushes it.
std::shared_ptr<spdlog::logger> loggerFor(spdlog::sink_ptr sink) {
  auto logger = std::make_shared<spdlog::logger>("kestrelvisor", std::move(sink));
  logger->set_formatter(std::make_unique<spdlog::pattern_formatter>("%v"));
  logger->set_level(spdlog::level::trace);
  logger->flush_on(spdlog::level::trace);
  return logger;
}

struct LogState {
  // A callback may log, so its own thread comes here again.
  std::recursive_mutex mutex;
  std::shared_ptr<spdlog::logger> logger =
      loggerFor(std::make_shared<spdlog::sinks::stderr_sink_mt>());
  LogFormat format = LogOptions().format;
  int threshold = kDefaultLogThreshold;
  CallbackList observers;
};

// Never destroyed: static objects log from their destructors.
LogState& logState() {
  static LogState* const state = new LogState;
  return *state;
}

// Lowest level that anybody wants. One look at it is all that an unwanted statement costs.
constinit std::atomic<int> wantedFrom{kDefaultLogThreshold};

bool isWanted(int level) { return level >= wantedFrom.load(std::memory_order_relaxed); }

void updateWantedFrom(const LogState& state) {
  int lowest = state.threshold;
  for (const auto& observer : state.observers) {
    if (observer) lowest = std::min(lowest, observer->lowestLevel);
  }
  wantedFrom = lowest;
}

thread_local bool insideCallback = false;

// The calling thread's walk over the observers. One that ends meanwhile leaves its place empty.
class Walk {
 public:
  explicit Walk(LogState& state) : state_(state) { insideCallback = true; }
  ~Walk() {
    insideCallback = false;
    std::erase(state_.observers, nullptr);
    updateWantedFrom(state_);
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

 private:
  LogState& state_;
};

// Calls the callbacks of the observers of that level that exist now. Nothing is copied: a statement
// must not fail because there is no memory for its observers.
template <class Call>
void forEachObserver(int level, Call call) {
  if (insideCallback) return;
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  const std::size_t count = state.observers.size();
  const Walk walk(state);
  for (std::size_t i = 0; i < count; ++i) {
    const auto callbacks = state.observers[i];  // a callback may end its own observer
    if (callbacks && level >= callbacks->lowestLevel) call(*callbacks);
  }
}

void announce(int level, std::string_view function) {
  forEachObserver(level, [&](const LogObserver::Callbacks& callbacks) {
    if (callbacks.onStatement) callbacks.onStatement(level, function);
  });
}

void showToObservers(const LogRecord& record) {
  forEachObserver(record.level, [&](const LogObserver::Callbacks& callbacks) {
    try {
      if (callbacks.onRecord) callbacks.onRecord(record);
    } catch (...) {  // dropped, as LogObserver::OnRecord says
    }
  });
}

spdlog::level::level_enum spdlogLevel(int level) {
  constexpr std::array<spdlog::level::level_enum, 5> kLevels{
      spdlog::level::trace, spdlog::level::info, spdlog::level::info, spdlog::level::warn,
      spdlog::level::err};
  return kLevels[static_cast<std::size_t>(std::clamp(level, 0, 4))];
}

void write(const LogRecord& record) {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  if (record.level < state.threshold) return;
  const auto time = currentTime();
  const bool json = state.format == LogFormat::json;
  const std::string line = json ? jsonLine(record, time) : textLine(record, time);
  state.logger->log(time, spdlog::source_loc(), spdlogLevel(record.level), line);
}

}  // namespace

bool configureLogging(const LogOptions& options, std::string& problem) {
  std::shared_ptr<spdlog::logger> logger;
  try {
    logger = options.file.empty()
                 ? loggerFor(std::make_shared<spdlog::sinks::stderr_sink_mt>())
                 : loggerFor(std::make_shared<spdlog::sinks::basic_file_sink_mt>(options.file));
  } catch (const spdlog::spdlog_ex& failure) {
    problem = failure.what();
    return false;
  }

  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  state.logger = std::move(logger);
  state.format = options.format;
  state.threshold = options.threshold;
  updateWantedFrom(state);
  return true;
}

bool isLogWanted(int level) { return isWanted(level); }

LogObserver::LogObserver(OnRecord onRecord, OnStatement onStatement, int lowestLevel)
    : callbacks_(std::make_shared<const Callbacks>(
          Callbacks{std::move(onRecord), std::move(onStatement), lowestLevel})) {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  state.observers.push_back(callbacks_);
  updateWantedFrom(state);
}

LogObserver::~LogObserver() {
  LogState& state = logState();
  const std::lock_guard lock(state.mutex);
  const auto place = std::find(state.observers.begin(), state.observers.end(), callbacks_);
  if (insideCallback) {
    place->reset();
    return;
  }
  state.observers.erase(place);
  updateWantedFrom(state);
}

}  // namespace kestrelvisor

LogProxy::LogProxy(int level, std::string_view tag, std::uint64_t requestId,
                   std::string_view function, int line)
    : level_(level),
      line_(line),
      tag_(tag),
      function_(function),
      requestId_(requestId),
      stream_(nullptr) {
  if (!kestrelvisor::isWanted(level)) return;
  kestrelvisor::announce(level, function);
  // A record that finds no memory is lost; the statement goes on.
  stream_ = new (std::nothrow) std::ostringstream;
  if (stream_ == nullptr || stream_->getloc() == std::locale::classic()) return;
  stream_->imbue(std::locale::classic());
}

LogProxy& LogProxy::operator<<(const std::string& piece) {
  if (stream_ == nullptr) return *this;
  try {
    std::string room;
    *stream_ << kestrelvisor::withoutSecrets(piece, room);
  } catch (const std::bad_alloc&) {  // the record is lost, the statement goes on
    delete std::exchange(stream_, nullptr);
  }
  return *this;
}

LogProxy::~LogProxy() {
  if (stream_ == nullptr) return;
  const std::unique_ptr<std::ostringstream> text(static_cast<std::ostringstream*>(stream_));
  if (!*text) return;  // a piece found no memory: a part of a record would mislead
  try {
    const kestrelvisor::LogRecord record{
        level_, std::string(tag_),     requestId_, std::string(function_), line_,
        code_,  std::move(*text).str()};
    kestrelvisor::showToObservers(record);
    kestrelvisor::write(record);
  } catch (...) {  // a log that cannot be written fails nobody
  }
}
