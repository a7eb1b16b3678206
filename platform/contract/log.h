#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

// One record of the host's log, written when the object ends.
//
// Every statement streams an integer first, the result code of the record (the engine's is always
// 0), and then the pieces of its text. Pieces are written in the classic locale. A piece that is a
// std::string may quote the manager, and a manager may quote the request, its headers included: the
// host keeps what is sensitive in it out of its log. No other piece holds anything secret.
class LogProxy {
 public:
  // level: 0 trace, 1 and 2 progress, 3 warning, 4 error. tag and function must outlive the object.
  LogProxy(int level, std::string_view tag, std::uint64_t requestId, std::string_view function,
           int line);
  ~LogProxy();
  LogProxy(const LogProxy&) = delete;
  LogProxy& operator=(const LogProxy&) = delete;

  // Adds a text that may quote the manager.
  LogProxy& operator<<(const std::string& piece);

  // Adds anything else that a std::ostream takes; the first int is the result code.
  template <class Piece>
  LogProxy& operator<<(const Piece& piece) {
    if (stream_ == nullptr) return *this;  // nobody wants this record
    if constexpr (std::is_same_v<Piece, int>) {
      if (!hasCode_) {
        hasCode_ = true;
        code_ = piece;
        return *this;
      }
    }
    *stream_ << piece;
    return *this;
  }

 private:
  int level_;
  int line_;
  int code_ = 0;
  bool hasCode_ = false;
  std::string_view tag_;
  std::string_view function_;
  std::uint64_t requestId_;
  std::ostream* stream_;  // owned; null when nobody wants this record
};
