#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kestrelvisor::ctl {

// Takes a result piece by piece, so that a large one never stands in memory whole. printResult is
// one.
using Sink = std::function<void(std::string_view)>;

// Gathers a result, so that a sink gets it in pieces of a fair size. The sink must outlive it.
class PieceBuffer {
 public:
  explicit PieceBuffer(const Sink& sink) : sink_(sink) {}

  void add(std::string_view text);
  // Hands on what is left. To be called once, at the end.
  void finish();

 private:
  const Sink& sink_;
  std::string text_;
};

}  // namespace kestrelvisor::ctl
