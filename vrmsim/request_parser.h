#pragma once

#include "vrmsim/http_message.h"

#include <boost/beast/http/basic_parser.hpp>

#include <string>

namespace kestrelvisor::vrmsim {

// Reads one request. Beast's own container groups headers by name; a journal needs them as they
// came.
class RequestParser : public boost::beast::http::basic_parser<true> {
 public:
  explicit RequestParser(HttpRequest origin) : request(std::move(origin)) {
    header_limit(kHeaderLimit);
    body_limit(kBodyLimit);
  }

  HttpRequest request;

 private:
  static constexpr std::uint32_t kHeaderLimit = 64U * 1024U;    // bytes
  static constexpr std::uint64_t kBodyLimit = 1024ULL * 1024U;  // bytes

  using string_view = boost::beast::string_view;
  using error_code = boost::beast::error_code;

  void on_request_impl(boost::beast::http::verb, string_view method, string_view target, int,
                       error_code&) override {
    request.method.assign(method.data(), method.size());
    request.target.assign(target.data(), target.size());
  }

  void on_field_impl(boost::beast::http::field, string_view name, string_view value,
                     error_code&) override {
    request.headers.emplace_back(std::string(name.data(), name.size()),
                                 std::string(value.data(), value.size()));
  }

  std::size_t on_body_impl(string_view body, error_code&) override {
    request.body.append(body.data(), body.size());
    return body.size();
  }

  std::size_t on_chunk_body_impl(std::uint64_t, string_view body, error_code&) override {
    request.body.append(body.data(), body.size());
    return body.size();
  }

  void on_response_impl(int, string_view, int, error_code&) override {}
  void on_header_impl(error_code&) override {}
  void on_body_init_impl(const boost::optional<std::uint64_t>&, error_code&) override {}
  void on_chunk_header_impl(std::uint64_t, string_view, error_code&) override {}
  void on_finish_impl(error_code&) override {}
};

}  // namespace kestrelvisor::vrmsim
