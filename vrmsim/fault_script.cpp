#include "vrmsim/fault_script.h"

#include "vrmsim/gzip.h"
#include "vrmsim/wire_format.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

constexpr const char* kFaultCode = "10009006";  // when a rule gives none
constexpr const char* kFaultText = "A fault rule asks for this answer.";
constexpr std::size_t kChunkSize = 4096;
constexpr std::size_t kFillerSize = 16384;  // of an endless body, at a time

// An alert of TLS 1.2 and 1.3: fatal, handshake failure.
constexpr std::string_view kTlsAlert("\x15\x03\x03\x00\x02\x02\x28", 7);
// The head of a record and of the server's greeting in it; a client waits for the rest.
constexpr std::string_view kTlsGreetingBegun("\x16\x03\x03\x00\x7a\x02\x00\x00\x76\x03\x03", 11);

void replaceAll(std::string& text, const std::string& find, const std::string& replacement) {
  for (std::size_t at = text.find(find); at != std::string::npos; at = text.find(find, at)) {
    text.replace(at, find.size(), replacement);
    at += replacement.size();
  }
}

void giveBody(const AnswerEdit& edit, HttpReply& reply) {
  if (!edit.redirect.empty()) {
    reply = HttpReply{302, {{"Location", edit.redirect}}, {}, {}};
  } else if (edit.body) {
    reply.body = *edit.body;
  } else if (edit.code || edit.description || edit.status.value_or(0) >= 400) {
    reply.status = 500;
    reply.body = errorBody(edit.code.value_or(kFaultCode), edit.description.value_or(kFaultText));
  }
  if (edit.empty) reply.body.clear();
}

void edit(const AnswerEdit& edit, HttpReply& reply) {
  giveBody(edit, reply);
  if (edit.status) reply.status = *edit.status;
  if (!edit.find.empty()) replaceAll(reply.body, edit.find, edit.replace.value_or(""));
  if (edit.nul) reply.body.insert(std::min<std::uint64_t>(*edit.nul, reply.body.size()), 1, '\0');
  if (!edit.gzip) return;
  reply.body = gzipped(reply.body);
  reply.headers.emplace_back("Content-Encoding", "gzip");
}

std::string lengthText(const Framing& framing, std::uint64_t size) {
  switch (framing.length) {
    case BodyLength::kRight:
      return std::to_string(size);
    case BodyLength::kShorter:
      return std::to_string(size / 2);
    case BodyLength::kLonger:
      return std::to_string(size * 2 + 1);
    case BodyLength::kNegative:
      return "-1";
    case BodyLength::kHuge:
      return std::to_string(std::numeric_limits<std::int64_t>::max());
    case BodyLength::kExact:
      return std::to_string(framing.exactLength);
  }
  return {};
}

// Without any of these the end of the stream is the end of the body.
std::vector<Header> framingHeaders(const Framing& framing, std::uint64_t size) {
  if (framing.chunking != Chunking::kNone) return {{"Transfer-Encoding", "chunked"}};
  if (framing.endless && framing.length == BodyLength::kRight) return {};
  return {{"Content-Length", lengthText(framing, size)}};
}

std::vector<Header> editedHeaders(const AnswerEdit& edit, std::vector<Header> headers) {
  const auto drop = [&headers](const std::string& name) {
    std::erase_if(headers, [&](const Header& header) { return sameName(header.first, name); });
  };
  for (const std::string& name : edit.dropHeaders) drop(name);
  for (const Header& header : edit.setHeaders) drop(header.first);
  headers.insert(headers.end(), edit.setHeaders.begin(), edit.setHeaders.end());
  for (std::uint64_t i = 1; i <= edit.headerCount; ++i) {
    headers.emplace_back("X-Fault-" + std::to_string(i), "1");
  }
  if (edit.headerSize > 0) headers.emplace_back("X-Fault", std::string(edit.headerSize, 'x'));
  return headers;
}

std::string chunk(std::string_view content) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string size;
  for (std::size_t left = content.size(); left > 0; left /= 16) size += kDigits[left % 16];
  std::reverse(size.begin(), size.end());
  return size.append("\r\n").append(content).append("\r\n");
}

std::string chunks(std::string_view body) {
  std::string bytes;
  for (std::size_t at = 0; at < body.size(); at += kChunkSize) {
    bytes += chunk(body.substr(at, kChunkSize));
  }
  return bytes;
}

std::string codedBody(Chunking chunking, const std::string& body) {
  switch (chunking) {
    case Chunking::kNone:
      return body;
    case Chunking::kGood:
      return chunks(body) + "0\r\n\r\n";
    case Chunking::kCut:
      return chunks(body);
    case Chunking::kBad:
      break;
  }
  const std::size_t half = body.size() / 2;
  return chunks(body.substr(0, half)) + "no size\r\n" + body.substr(half) + "\r\n";
}

// What stands behind the headers.
std::vector<Send> bodySends(const Framing& framing, const std::string& body) {
  if (!framing.endless) return {Send(codedBody(framing.chunking, body))};
  const std::string filler(kFillerSize, ' ');
  const bool plain = framing.chunking == Chunking::kNone;
  // The last chunk never comes.
  const Chunking coding = framing.chunking == Chunking::kGood ? Chunking::kCut : framing.chunking;
  return {Send(codedBody(coding, body)), Send(plain ? filler : chunk(filler), Send::kForEver)};
}

bool endsTheConnection(const Framing& framing) {
  return framing.bodyAlone || framing.garbage || framing.chunking == Chunking::kCut ||
         (framing.endless && framing.chunking == Chunking::kNone);
}

// The parts of an answer from first to last, before anything breaks it off.
struct Parts {
  std::string head;
  std::size_t statusEnd = 0;  // where the status line ends in the head; 0: there is none
  std::vector<Send> body;
};

Parts partsOf(const FaultRule& rule, const HttpReply& reply, bool keepAlive, SeededRandom random) {
  const Framing& framing = rule.framing;
  if (framing.garbage) return {"", 0, {Send(random.bytes(*framing.garbage))}};
  Parts parts;
  for (std::uint64_t i = 0; i < framing.continues; ++i) {
    parts.head += "HTTP/1.1 100 Continue\r\n\r\n";
  }
  if (!framing.bodyAlone) {
    const std::size_t interim = parts.head.size();
    parts.head += headText(
        reply.status,
        editedHeaders(rule.answer,
                      headersOf(reply, framingHeaders(framing, reply.body.size()), keepAlive)));
    parts.statusEnd = parts.head.find("\r\n", interim);
  }
  parts.body = bodySends(framing, reply.body);
  return parts;
}

// Shortens the sends to so many bytes in all.
void truncate(std::vector<Send>& sends, std::uint64_t size) {
  for (Send& send : sends) {
    send.total = std::min(send.total, size);
    size -= send.total;
  }
}

void breakOff(const Interruption& interruption, Parts& parts) {
  if (interruption.kind == Break::kNone || interruption.at == BreakPoint::kEnd) return;
  const std::uint64_t bytes = interruption.afterBytes.value_or(Send::kForEver);
  if (interruption.at == BreakPoint::kBody) return truncate(parts.body, bytes);
  parts.body.clear();
  if (interruption.at < BreakPoint::kHeaders) parts.head.clear();
  parts.head.resize(std::min<std::uint64_t>(parts.head.size(), bytes));
}

Ending endingOf(const Interruption& interruption, bool keepAlive) {
  switch (interruption.kind) {
    case Break::kNone:
      return keepAlive ? Ending::kNextRequest : Ending::kClose;
    case Break::kSilence:
      return Ending::kSilence;
    case Break::kCut:
      return interruption.clean ? Ending::kClose : Ending::kCut;
    case Break::kReset:
      return Ending::kReset;
    case Break::kAlert:
      return Ending::kClose;
  }
  return Ending::kClose;
}

void appendPause(Script& script, std::chrono::milliseconds length) {
  if (length.count() > 0) script.steps.emplace_back(Pause{length});
}

void appendSend(Script& script, Send send, std::uint32_t bytesPerSecond) {
  if (send.total == 0) return;
  send.bytesPerSecond = bytesPerSecond;
  script.steps.emplace_back(std::move(send));
}

}  // namespace

Script scriptOf(const HttpReply& reply, bool keepAlive) {
  const std::vector<Header> length{{"Content-Length", std::to_string(reply.body.size())}};
  Script script;
  script.ending = keepAlive ? Ending::kNextRequest : Ending::kClose;
  script.steps.emplace_back(
      Send(headText(reply.status, headersOf(reply, length, keepAlive)) + reply.body));
  return script;
}

Script scriptOf(const FaultRule& rule, HttpReply& reply, bool keepAlive, SeededRandom random) {
  edit(rule.answer, reply);
  const bool servesOn = keepAlive && !endsTheConnection(rule.framing);
  Parts parts = partsOf(rule, reply, servesOn, random);
  breakOff(rule.interruption, parts);
  Script script;
  appendPause(script, rule.delay);
  appendSend(script, Send(parts.head), rule.bytesPerSecond);
  for (Send& send : parts.body) appendSend(script, std::move(send), rule.bytesPerSecond);
  script.ending = endingOf(rule.interruption, servesOn);
  if (parts.statusEnd == 0 || parts.head.size() < parts.statusEnd) reply.status = 0;
  return script;
}

Script interruptionOf(const FaultRule& rule) {
  Script script;
  appendPause(script, rule.delay);
  if (rule.interruption.kind == Break::kAlert) {
    script.steps.emplace_back(Send(std::string(kTlsAlert)));
  } else if (rule.interruption.at == BreakPoint::kHello) {
    script.steps.emplace_back(Send(std::string(kTlsGreetingBegun)));
  }
  script.ending = endingOf(rule.interruption, false);
  return script;
}

}  // namespace kestrelvisor::vrmsim
