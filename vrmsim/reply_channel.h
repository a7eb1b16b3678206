#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <string>
#include <utility>

namespace kestrelvisor::vrmsim {

using PlainStream = boost::asio::ip::tcp::socket;
using TlsStream = boost::asio::ssl::stream<boost::asio::ip::tcp::socket>;

// The one way by which bytes leave a connection. Owns them until they are sent. The handlers that
// the caller passes keep the connection, and with it this channel, alive.
template <class Stream>
class ReplyChannel {
 public:
  explicit ReplyChannel(Stream& stream) : stream_(stream) {}

  // Calls done(true) when the last byte was taken, done(false) when the client is gone.
  template <class Done>
  void send(std::string bytes, Done done) {
    bytes_ = std::move(bytes);
    boost::asio::async_write(stream_, boost::asio::buffer(bytes_),
                             [done = std::move(done)](const boost::system::error_code& error,
                                                      std::size_t) { done(!error); });
  }

  // Says that nothing more will come, and waits until the client has hung up. A socket closed with
  // bytes unread would reset the connection and could take the reply with it.
  template <class Done>
  void finish(Done done) {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      stream_.async_shutdown([done](const boost::system::error_code&) { done(); });
    } else {
      boost::system::error_code ignored;  // the client may be gone
      stream_.shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
      drain(std::move(done));
    }
  }

 private:
  template <class Done>
  void drain(Done done) {
    stream_.async_read_some(
        boost::asio::buffer(scrap_),
        [this, done = std::move(done)](const boost::system::error_code& error, std::size_t) {
          error ? done() : drain(done);
        });
  }

  Stream& stream_;
  std::string bytes_;
  std::array<char, 1024> scrap_{};
};

}  // namespace kestrelvisor::vrmsim
