#include "vrmsim/http_server.h"

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

#include <chrono>
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

// One connection, kept alive by the handlers of whatever it waits for.
template <class Stream>
class Connection : public std::enable_shared_from_this<Connection<Stream>> {
 public:
  Connection(Stream stream, HttpRequest origin, const HttpServer::Handler& handler)
      : stream_(std::move(stream)),
        origin_(std::move(origin)),
        handler_(handler),
        channel_(stream_) {}

  void start() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      stream_.async_handshake(asio::ssl::stream_base::server,
                              [self = this->shared_from_this()](const error_code& error) {
                                if (!error) self->read();
                              });
    } else {
      read();
    }
  }

 private:
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
      return answer(false);
    }
    if (!error) answer(parser_->keep_alive());
  }

  void answer(bool keepAlive) {
    std::string bytes = serialise(replyTo(parser_->request), keepAlive);
    channel_.send(std::move(bytes), [self = this->shared_from_this(), keepAlive](bool sent) {
      if (!sent) return;
      keepAlive ? self->read() : self->finish();
    });
  }

  HttpReply replyTo(const HttpRequest& request) {
    try {
      return handler_(request);
    } catch (const std::exception& error) {
      HttpReply reply;
      reply.status = 500;
      reply.body = errorBody("11000000", error.what());
      return reply;
    }
  }

  void finish() {
    channel_.finish([self = this->shared_from_this()] {});
  }

  Stream stream_;
  const HttpRequest origin_;
  const HttpServer::Handler& handler_;
  ReplyChannel<Stream> channel_;
  boost::beast::flat_buffer buffer_;
  std::optional<RequestParser> parser_;
};

void useIdentity(asio::ssl::context& context, const TlsIdentity& identity) {
  SSL_CTX* const tls = context.native_handle();
  // First: the level judges the certificate, too.
  if (identity.takesWeakCryptography) SSL_CTX_set_security_level(tls, 0);
  SSL_CTX_set_min_proto_version(tls, static_cast<int>(identity.oldestVersion));
  SSL_CTX_set_max_proto_version(tls, static_cast<int>(identity.newestVersion));
  context.set_options(asio::ssl::context::default_workarounds);
  context.use_certificate_chain(asio::buffer(identity.chainPem));
  context.use_private_key(asio::buffer(identity.privateKeyPem), asio::ssl::context::pem);
  if (!identity.demandsClientCertificate) return;
  context.add_certificate_authority(asio::buffer(identity.trustedPem));
  context.set_verify_mode(asio::ssl::verify_peer | asio::ssl::verify_fail_if_no_peer_cert);
}

}  // namespace

struct HttpServer::Impl {
  Impl(const std::optional<TlsIdentity>& identity, Handler onRequest)
      : handler(std::move(onRequest)) {
    if (!identity) return;
    tls.emplace(asio::ssl::context::tls_server);
    useIdentity(*tls, *identity);
  }

  void listen(const std::string& address, std::uint16_t port) {
    try {
      const tcp::endpoint endpoint(asio::ip::make_address(address), port);
      acceptor.open(endpoint.protocol());
      acceptor.set_option(tcp::acceptor::reuse_address(true));
      acceptor.bind(endpoint);
      acceptor.listen();
    } catch (const boost::system::system_error& error) {
      throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port) +
                               ": " + error.code().message());
    }
  }

  void accept() {
    acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
      if (error) return pauseAndAccept();
      serve(std::move(socket));
      accept();
    });
  }

  // Out of descriptors: the connections that end meanwhile give some back.
  void pauseAndAccept() {
    pause.expires_after(kPauseWithoutDescriptors);
    pause.async_wait([this](const error_code& error) {
      if (!error) accept();
    });
  }

  void serve(tcp::socket socket) {
    error_code gone;
    const tcp::endpoint local = socket.local_endpoint(gone);
    socket.set_option(tcp::no_delay(true), gone);
    HttpRequest origin;
    origin.connection = ++connections;
    origin.tls = tls.has_value();
    origin.localAddress = addressText(local.address());
    if (tls) {
      std::make_shared<Connection<TlsStream>>(TlsStream(std::move(socket), *tls), std::move(origin),
                                              handler)
          ->start();
    } else {
      std::make_shared<Connection<PlainStream>>(std::move(socket), std::move(origin), handler)
          ->start();
    }
  }

  const Handler handler;
  std::optional<asio::ssl::context> tls;
  std::uint64_t connections = 0;
  asio::io_context context{1};
  tcp::acceptor acceptor{context};
  asio::steady_timer pause{context};
  std::thread thread;
};

HttpServer::HttpServer(const std::string& bindAddress, std::uint16_t port,
                       const std::optional<TlsIdentity>& identity, Handler handler)
    : impl_(std::make_unique<Impl>(identity, std::move(handler))) {
  impl_->listen(bindAddress, port);
  impl_->accept();
  impl_->thread = std::thread([impl = impl_.get()] { impl->context.run(); });
}

HttpServer::~HttpServer() {
  impl_->context.stop();
  impl_->thread.join();
}

std::uint16_t HttpServer::port() const { return impl_->acceptor.local_endpoint().port(); }

std::uint64_t HttpServer::handshakes() const {
  if (!impl_->tls) return 0;
  return static_cast<std::uint64_t>(SSL_CTX_sess_accept(impl_->tls->native_handle()));
}

}  // namespace kestrelvisor::vrmsim
