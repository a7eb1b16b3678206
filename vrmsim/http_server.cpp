#include "vrmsim/http_server.h"

#include "vrmsim/fault_script.h"
#include "vrmsim/reply_channel.h"
#include "vrmsim/request_parser.h"
#include "vrmsim/wire_format.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>

#include <atomic>
#include <chrono>
#include <list>
#include <stdexcept>
#include <thread>

namespace kestrelvisor::vrmsim {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds kPauseWithoutDescriptors{10};

std::string addressText(const asio::ip::address& address) {
  if (address.is_v6() && address.to_v6().is_v4_mapped()) {
    return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string();
  }
  return address.to_string();
}

// What HTTP does not allow, in contrast to a client that went away.
bool isDefect(const error_code& error) {
  return error.category() == http::make_error_code(http::error::bad_method).category() &&
         error != http::error::end_of_stream && error != http::error::partial_message;
}

Script answerTo(const HttpServer::Endpoint& endpoint, const HttpRequest& request, bool keepAlive) {
  try {
    return endpoint.answer(request, keepAlive);
  } catch (const std::exception& error) {
    HttpReply reply;
    reply.status = 500;
    reply.body = errorBody("11000000", error.what());
    return scriptOf(reply, keepAlive);
  }
}

// What an endpoint makes of a connection before its first request.
std::optional<Script> interruption(const HttpServer::Endpoint& endpoint, FaultMoment moment,
                                   const HttpRequest& origin) {
  try {
    return endpoint.interrupt ? endpoint.interrupt(moment, origin) : std::nullopt;
  } catch (const std::exception&) {
    return Script{{}, Ending::kClose};  // there is no request that could be told
  }
}

// A connection that never gets to TLS or HTTP, kept alive by its handlers.
class Interrupted : public std::enable_shared_from_this<Interrupted> {
 public:
  Interrupted(PlainStream stream, Script script)
      : stream_(std::move(stream)), script_(std::move(script)), channel_(stream_) {}

  void start() {
    channel_.play(std::move(script_), [self = shared_from_this()](bool) {});
  }

  // Lets the client speak first.
  void startWhenTheClientSpeaks() {
    stream_.async_wait(PlainStream::wait_read,
                       [self = shared_from_this()](const error_code& error) {
                         if (!error) self->start();
                       });
  }

 private:
  PlainStream stream_;
  Script script_;
  ReplyChannel<PlainStream> channel_;
};

// One connection, kept alive by the handlers of whatever it waits for.
template <class Stream>
class Connection : public std::enable_shared_from_this<Connection<Stream>> {
 public:
  Connection(Stream stream, HttpRequest origin, const HttpServer::Endpoint& endpoint,
             std::atomic<std::uint64_t>& resumed)
      : stream_(std::move(stream)),
        origin_(std::move(origin)),
        endpoint_(endpoint),
        resumed_(resumed),
        channel_(stream_) {}

  // A client that hangs up without a goodbye may come back with its session all the same.
  ~Connection() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      SSL_set_shutdown(stream_.native_handle(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
    }
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void start() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      stream_.async_handshake(asio::ssl::stream_base::server,
                              [self = this->shared_from_this()](const error_code& error) {
                                if (!error) self->onHandshake();
                              });
    } else {
      read();
    }
  }

 private:
  void onHandshake() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      if (SSL_session_reused(stream_.native_handle()) == 1) ++resumed_;
    }
    auto script = interruption(endpoint_, FaultMoment::kHandshake, origin_);
    script ? play(std::move(*script)) : read();
  }

  void read() {
    parser_.emplace(origin_);
    http::async_read(stream_, buffer_, *parser_,
                     [self = this->shared_from_this()](const error_code& error, std::size_t) {
                       self->onRead(error);
                     });
  }

  void onRead(const error_code& error) {
    if (isDefect(error)) {
      parser_->request.defect = error.message();
      return play(answerTo(endpoint_, parser_->request, false));
    }
    if (!error) play(answerTo(endpoint_, parser_->request, parser_->keep_alive()));
  }

  void play(Script script) {
    channel_.play(std::move(script), [self = this->shared_from_this()](bool servesOn) {
      if (servesOn) self->read();
    });
  }

  Stream stream_;
  const HttpRequest origin_;
  const HttpServer::Endpoint& endpoint_;
  std::atomic<std::uint64_t>& resumed_;  // handshakes of the endpoint
  ReplyChannel<Stream> channel_;
  boost::beast::flat_buffer buffer_;
  std::optional<RequestParser> parser_;
};

void setResumption(SSL_CTX* tls, bool resumes) {
  if (resumes) {
    // A server that asks for certificates has to have a name for its sessions.
    constexpr unsigned char kName[] = {'v', 'r', 'm', 's', 'i', 'm'};
    SSL_CTX_set_session_id_context(tls, kName, sizeof kName);
    return;
  }
  SSL_CTX_set_session_cache_mode(tls, SSL_SESS_CACHE_OFF);
  SSL_CTX_set_options(tls, SSL_OP_NO_TICKET);
  SSL_CTX_set_num_tickets(tls, 0);
}

void useIdentity(asio::ssl::context& context, const TlsIdentity& identity) {
  SSL_CTX* const tls = context.native_handle();
  // First: the level judges the certificate, too.
  if (identity.takesWeakCryptography) SSL_CTX_set_security_level(tls, 0);
  SSL_CTX_set_min_proto_version(tls, static_cast<int>(identity.oldestVersion));
  SSL_CTX_set_max_proto_version(tls, static_cast<int>(identity.newestVersion));
  context.set_options(asio::ssl::context::default_workarounds);
  setResumption(tls, identity.resumesSessions);
  context.use_certificate_chain(asio::buffer(identity.chainPem));
  context.use_private_key(asio::buffer(identity.privateKeyPem), asio::ssl::context::pem);
  if (!identity.demandsClientCertificate) return;
  context.add_certificate_authority(asio::buffer(identity.trustedPem));
  context.set_verify_mode(asio::ssl::verify_peer | asio::ssl::verify_fail_if_no_peer_cert);
}

// Accepts the connections of one endpoint.
class Listener {
 public:
  Listener(asio::io_context& context, HttpServer::Endpoint endpoint)
      : endpoint_(std::move(endpoint)), acceptor_(context), pause_(context) {
    if (endpoint_.identity) {
      tls_.emplace(asio::ssl::context::tls_server);
      useIdentity(*tls_, *endpoint_.identity);
    }
    listen();
    accept();
  }

  std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

  Handshakes handshakes() {
    if (!tls_) return {};
    return {static_cast<std::uint64_t>(SSL_CTX_sess_accept(tls_->native_handle())), resumed_};
  }

 private:
  void listen() {
    try {
      const tcp::endpoint address(asio::ip::make_address(endpoint_.bindAddress), endpoint_.port);
      acceptor_.open(address.protocol());
      acceptor_.set_option(tcp::acceptor::reuse_address(true));
      acceptor_.bind(address);
      acceptor_.listen();
    } catch (const boost::system::system_error& error) {
      throw std::runtime_error("cannot listen on " + endpoint_.bindAddress + " port " +
                               std::to_string(endpoint_.port) + ": " + error.code().message());
    }
  }

  void accept() {
    acceptor_.async_accept([this](const error_code& error, tcp::socket socket) {
      if (error) return pauseAndAccept();
      serve(std::move(socket));
      accept();
    });
  }

  // Out of descriptors: the connections that end meanwhile give some back.
  void pauseAndAccept() {
    pause_.expires_after(kPauseWithoutDescriptors);
    pause_.async_wait([this](const error_code& error) {
      if (!error) accept();
    });
  }

  void serve(tcp::socket socket) {
    error_code gone;
    const tcp::endpoint local = socket.local_endpoint(gone);
    socket.set_option(tcp::no_delay(true), gone);
    HttpRequest origin;
    origin.connection = ++connections_;
    origin.tls = tls_.has_value();
    origin.localAddress = addressText(local.address());
    if (interrupted(socket, origin)) return;
    if (tls_) {
      std::make_shared<Connection<TlsStream>>(TlsStream(std::move(socket), *tls_),
                                              std::move(origin), endpoint_, resumed_)
          ->start();
    } else {
      std::make_shared<Connection<PlainStream>>(std::move(socket), std::move(origin), endpoint_,
                                                resumed_)
          ->start();
    }
  }

  // Takes the socket when a fault keeps the connection from TLS and HTTP.
  bool interrupted(tcp::socket& socket, const HttpRequest& origin) {
    if (auto script = interruption(endpoint_, FaultMoment::kAccept, origin)) {
      std::make_shared<Interrupted>(std::move(socket), std::move(*script))->start();
      return true;
    }
    if (!tls_) return false;
    auto script = interruption(endpoint_, FaultMoment::kHello, origin);
    if (!script) return false;
    std::make_shared<Interrupted>(std::move(socket), std::move(*script))
        ->startWhenTheClientSpeaks();
    return true;
  }

  const HttpServer::Endpoint endpoint_;
  std::optional<asio::ssl::context> tls_;
  std::uint64_t connections_ = 0;
  std::atomic<std::uint64_t> resumed_{0};
  tcp::acceptor acceptor_;
  asio::steady_timer pause_;
};

}  // namespace

struct HttpServer::Impl {
  asio::io_context context{1};    // owns the connections, in the handlers of what they wait for
  std::list<Listener> listeners;  // stay where they are: connections look at their endpoints
  std::thread thread;
};

HttpServer::HttpServer(std::vector<Endpoint> endpoints) : impl_(std::make_unique<Impl>()) {
  for (Endpoint& endpoint : endpoints) {
    impl_->listeners.emplace_back(impl_->context, std::move(endpoint));
  }
  impl_->thread = std::thread([impl = impl_.get()] { impl->context.run(); });
}

HttpServer::~HttpServer() {
  impl_->context.stop();
  impl_->thread.join();
}

std::uint16_t HttpServer::port(std::size_t endpoint) const {
  return std::next(impl_->listeners.begin(), static_cast<std::ptrdiff_t>(endpoint))->port();
}

Handshakes HttpServer::handshakes() const {
  Handshakes sum;
  for (Listener& listener : impl_->listeners) {
    const Handshakes own = listener.handshakes();
    sum.begun += own.begun;
    sum.resumed += own.resumed;
  }
  return sum;
}

}  // namespace kestrelvisor::vrmsim
