#include "vrmsim/gzip.h"

#include <zlib.h>

#include <memory>
#include <stdexcept>

namespace kestrelvisor::vrmsim {
namespace {

constexpr int kGzipFormat = 16;  // added to the window's size

struct DeflateEnd {
  void operator()(z_stream* stream) const noexcept { deflateEnd(stream); }
};

}  // namespace

std::string gzipped(const std::string& text) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzipFormat,
                   MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("no memory to compress a body");
  }
  const std::unique_ptr<z_stream, DeflateEnd> owner(&stream);
  std::string coded(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(coded.data());
  stream.avail_out = static_cast<uInt>(coded.size());
  if (deflate(&stream, Z_FINISH) != Z_STREAM_END)
    throw std::runtime_error("a body cannot be coded");
  coded.resize(stream.total_out);
  return coded;
}

}  // namespace kestrelvisor::vrmsim
