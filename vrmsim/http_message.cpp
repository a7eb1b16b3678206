#include "vrmsim/http_message.h"

#include <strings.h>

#include <algorithm>

namespace kestrelvisor::vrmsim {
namespace {

int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// Leaves alone what is no escape: clients send urns as they are.
std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool room = text[i] == '%' && i + 2 < text.size();
    const int high = room ? hexValue(text[i + 1]) : -1;
    const int low = room ? hexValue(text[i + 2]) : -1;
    if (high < 0 || low < 0) {
      decoded += text[i];
    } else {
      decoded += static_cast<char>(high * 16 + low);
      i += 2;
    }
  }
  return decoded;
}

std::string_view reason(int status) {
  struct Reason {
    int status;
    std::string_view text;
  };
  static constexpr Reason kReasons[] = {
      {200, "OK"},
      {201, "Created"},
      {202, "Accepted"},
      {204, "No Content"},
      {301, "Moved Permanently"},
      {302, "Found"},
      {304, "Not Modified"},
      {307, "Temporary Redirect"},
      {308, "Permanent Redirect"},
      {400, "Bad Request"},
      {401, "Unauthorized"},
      {403, "Forbidden"},
      {404, "Not Found"},
      {405, "Method Not Allowed"},
      {406, "Not Acceptable"},
      {408, "Request Timeout"},
      {409, "Conflict"},
      {429, "Too Many Requests"},
      {500, "Internal Server Error"},
      {501, "Not Implemented"},
      {502, "Bad Gateway"},
      {503, "Service Unavailable"},
      {504, "Gateway Timeout"},
  };
  for (const Reason& row : kReasons) {
    if (row.status == status) return row.text;
  }
  return "Status";
}

}  // namespace

bool sameName(std::string_view one, std::string_view other) {
  return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

std::string_view HttpRequest::header(std::string_view name) const {
  for (const Header& header : headers) {
    if (sameName(header.first, name)) return header.second;
  }
  return {};
}

const std::string* Target::parameter(std::string_view name) const {
  for (const auto& parameter : parameters) {
    if (parameter.first == name) return &parameter.second;
  }
  return nullptr;
}

Target parseTarget(const std::string& target) {
  Target parsed;
  const std::size_t question = target.find('?');
  parsed.path = target.substr(0, question);
  std::size_t begin = question == std::string::npos ? target.size() : question + 1;
  while (begin < target.size()) {
    const std::size_t end = std::min(target.find('&', begin), target.size());
    const std::string_view pair = std::string_view(target).substr(begin, end - begin);
    const std::size_t equals = std::min(pair.find('='), pair.size());
    parsed.parameters.emplace_back(pair.substr(0, equals),
                                   percentDecoded(pair.substr(std::min(equals + 1, pair.size()))));
    begin = end + 1;
  }
  return parsed;
}

std::vector<Header> headersOf(const HttpReply& reply, const std::vector<Header>& length,
                              bool keepAlive) {
  const bool typed =
      std::any_of(reply.headers.begin(), reply.headers.end(),
                  [](const Header& header) { return sameName(header.first, "Content-Type"); });
  std::vector<Header> headers{{"Server", "vrmsim"}};
  headers.insert(headers.end(), reply.headers.begin(), reply.headers.end());
  if (!typed) headers.emplace_back("Content-Type", "application/json; charset=UTF-8");
  headers.insert(headers.end(), length.begin(), length.end());
  if (!keepAlive) headers.emplace_back("Connection", "close");
  return headers;
}

std::string headText(int status, const std::vector<Header>& headers) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " ";
  text.append(reason(status)).append("\r\n");
  for (const auto& [name, value] : headers) {
    text.append(name).append(": ").append(value).append("\r\n");
  }
  return text.append("\r\n");
}

}  // namespace kestrelvisor::vrmsim
