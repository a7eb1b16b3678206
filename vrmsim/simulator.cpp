#include "vrmsim/simulator.h"

#include "vrmsim/canned_answers.h"
#include "vrmsim/certificate_matrix.h"
#include "vrmsim/http_server.h"
#include "vrmsim/rest_service.h"

#include <mutex>
#include <utility>

namespace kestrelvisor::vrmsim {
namespace {

std::optional<TlsIdentity> identityFor(const SimulatorOptions& options) {
  if (!options.tls) return std::nullopt;
  if (options.certificate.empty()) return makeSelfSignedIdentity(options.bindAddress);
  return certificateCase(options.certificate).make(options.bindAddress);
}

}  // namespace

struct Simulator::Impl {
  explicit Impl(SimulatorOptions chosen)
      : options(std::move(chosen)),
        identity(identityFor(options)),
        service(options),
        server(options.bindAddress, options.port, identity,
               [this](const HttpRequest& request) { return answer(request); }) {
    options.inventory = {};  // the service has its own
  }

  HttpReply answer(const HttpRequest& request) {
    HttpReply reply;
    if (auto canned = cannedAnswers.take(request)) {
      reply = {canned->status, std::move(canned->headers), std::move(canned->body), {}};
    } else {
      reply = service.answer(request);
    }
    record(request, reply);
    return reply;
  }

  void record(const HttpRequest& request, const HttpReply& reply) {
    if (!options.keepJournal && !options.onRequest) return;
    RecordedRequest entry{++sequence,     request.connection, options.clock(), request.tls,
                          request.method, request.target,     request.headers, request.body,
                          reply.status,   reply.complaint};
    if (options.onRequest) options.onRequest(entry);
    if (!options.keepJournal) return;
    const std::lock_guard<std::mutex> lock(journalMutex);
    journal.push_back(std::move(entry));
  }

  SimulatorOptions options;
  const std::optional<TlsIdentity> identity;
  RestService service;
  CannedAnswers cannedAnswers;
  std::uint64_t sequence = 0;
  mutable std::mutex journalMutex;
  std::vector<RecordedRequest> journal;
  HttpServer server;  // last: its thread uses all of the above
};

Simulator::Simulator(SimulatorOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

Simulator::~Simulator() = default;

std::uint16_t Simulator::port() const { return impl_->server.port(); }

std::string Simulator::address() const { return impl_->options.bindAddress; }

std::string Simulator::url() const {
  const std::string& address = impl_->options.bindAddress;
  const bool bracketed = address.find(':') != std::string::npos;
  return std::string(impl_->options.tls ? "https://" : "http://") + (bracketed ? "[" : "") +
         address + (bracketed ? "]" : "") + ":" + std::to_string(port());
}

std::string Simulator::certificatePem() const {
  return impl_->identity ? impl_->identity->trustedPem : std::string();
}

std::uint64_t Simulator::handshakes() const { return impl_->server.handshakes(); }

std::vector<RecordedRequest> Simulator::journal() const {
  const std::lock_guard<std::mutex> lock(impl_->journalMutex);
  return impl_->journal;
}

void Simulator::clearJournal() {
  const std::lock_guard<std::mutex> lock(impl_->journalMutex);
  impl_->journal.clear();
}

std::size_t Simulator::openSessions() const { return impl_->service.openSessions(); }

void Simulator::expireSessions() { impl_->service.expireSessions(); }

void Simulator::forgetSessions() { impl_->service.forgetSessions(); }

std::optional<bool> Simulator::cbtEnabled(const std::string& vmUri) const {
  return impl_->service.cbtEnabled(vmUri);
}

Inventory Simulator::inventory() const { return impl_->service.inventory(); }

void Simulator::changeInventory(const std::function<void(Inventory&)>& change) {
  impl_->service.changeInventory(change);
}

void Simulator::answerOnce(const std::string& method, const std::string& path, std::uint32_t nth,
                           CannedAnswer answer) {
  impl_->cannedAnswers.add(method, path, nth, std::move(answer));
}

}  // namespace kestrelvisor::vrmsim
