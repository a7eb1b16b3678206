#pragma once

#include "base/constants.h"
#include "platform/contract/log.h"
#include "platform/contract/request_id.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrelvisor {

// Levels of log records.
inline constexpr int kTrace = 0;
inline constexpr int kInfo = 1;
inline constexpr int kProgress = 2;
inline constexpr int kWarning = 3;
inline constexpr int kError = 4;

// Returns where the name of the function starts in the part of a signature before its first "(".
constexpr std::size_t functionNameStart(std::string_view beforeParenthesis) {
  const std::size_t blank = beforeParenthesis.rfind(' ');
  return blank == std::string_view::npos ? 0 : blank + 1;
}

// The name of a function and "()", made at compile time so that a log statement at process exit
// leans on no static object.
template <std::size_t Capacity>
struct FunctionName {
  char text[Capacity + 2] = {};
  std::size_t size = 0;

  constexpr std::string_view view() const { return {text, size}; }
};

// As GetFunctionName, for a string literal.
template <std::size_t Capacity>
constexpr FunctionName<Capacity> functionName(const char (&prettySignature)[Capacity]) {
  const std::string_view signature(prettySignature, Capacity - 1);
  const std::size_t parenthesis = signature.find('(');
  const bool whole = parenthesis == std::string_view::npos;
  std::string_view name = signature.substr(0, parenthesis);
  if (!whole) name.remove_prefix(functionNameStart(name));

  FunctionName<Capacity> result;
  for (const char c : name) result.text[result.size++] = c;
  if (!whole) {
    result.text[result.size++] = '(';
    result.text[result.size++] = ')';
  }
  return result;
}

// Streams the pieces of one record: the result code 0, the text, and an empty string to close it.
template <class... Pieces>
void writeLogRecord(std::string_view tag, int level, std::uint64_t requestId,
                    std::string_view function, int line, const Pieces&... pieces) {
  LogProxy record(level, tag, requestId, function, line);
  record << 0;
  (record << ... << pieces);
  record << "";
}

}  // namespace kestrelvisor

// Reduces a full signature to the qualified function name and "()": what stands between the last
// blank before the first "(" and that "(". A signature without "(" is returned unchanged.
inline std::string GetFunctionName(const std::string& prettySignature) {
  const std::size_t parenthesis = prettySignature.find('(');
  if (parenthesis == std::string::npos) return prettySignature;
  const std::string name = prettySignature.substr(0, parenthesis);
  return name.substr(kestrelvisor::functionNameStart(name)) + "()";
}

// The one form of a log statement: KV_LOG(kError, "Get response failed, url=", url).
//
// KV_LOG writes with the module tag, KV_LOG_AS with another, KV_LOG_WITHOUT_REQUEST with request id
// 0. The record names the enclosing function, also from within a lambda; that of KV_LOG_BY names
// the function for which a helper writes it.
#define KV_LOG(level, ...) KV_LOG_AS(::kestrelvisor::kModuleTag, level, __VA_ARGS__)
#define KV_LOG_AS(tag, level, ...) \
  KV_LOG_RECORD(tag, level, *KCPTSP::get(TSP_RequestID), __VA_ARGS__)
#define KV_LOG_WITHOUT_REQUEST(level, ...) \
  KV_LOG_RECORD(::kestrelvisor::kModuleTag, level, 0, __VA_ARGS__)
#define KV_LOG_RECORD(tag, level, requestId, ...)                                            \
  do {                                                                                       \
    static constexpr auto kvFunction = ::kestrelvisor::functionName(__PRETTY_FUNCTION__);    \
    ::kestrelvisor::writeLogRecord(tag, ::kestrelvisor::level, requestId, kvFunction.view(), \
                                   __LINE__, __VA_ARGS__);                                   \
  } while (false)
#define KV_LOG_BY(function, tag, level, ...)                                              \
  ::kestrelvisor::writeLogRecord(tag, ::kestrelvisor::level, *KCPTSP::get(TSP_RequestID), \
                                 function, __LINE__, __VA_ARGS__)
