#include "kestrelctl/views/sink.h"

namespace kestrelvisor::ctl {
namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

}  // namespace

void PieceBuffer::add(std::string_view text) {
  text_ += text;
  if (text_.size() < kPiece) return;
  sink_(text_);
  text_.clear();
}

void PieceBuffer::finish() {
  if (!text_.empty()) sink_(text_);
}

}  // namespace kestrelvisor::ctl
