#pragma once

#include "vrmsim/script.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <poll.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace kestrelvisor::vrmsim {

using PlainStream = boost::asio::ip::tcp::socket;
using TlsStream = boost::asio::ssl::stream<boost::asio::ip::tcp::socket>;

// The one way by which bytes leave a connection: plays scripts, one at a time. The handlers that
// the caller passes keep the connection, and with it this channel, alive.
template <class Stream>
class ReplyChannel {
 public:
  explicit ReplyChannel(Stream& stream) : stream_(stream), timer_(stream.get_executor()) {}

  // Calls done(true) when the script has ended and the connection serves on, done(false) when it is
  // over or the client is gone.
  template <class Done>
  void play(Script script, Done done) {
    script_ = std::move(script);
    at_ = 0;
    sent_ = 0;
    step(std::move(done));
  }

 private:
  using Milliseconds = std::chrono::milliseconds;

  // How often a connection that rests looks whether its client is still there. A client that hangs
  // up while nobody reads would not be noticed otherwise.
  static constexpr Milliseconds kGlance{25};
  static constexpr std::uint32_t kSlicesPerSecond = 20;

  template <class Done>
  void step(Done done) {
    if (at_ == script_.steps.size()) return end(std::move(done));
    if (const auto* const pause = std::get_if<Pause>(&script_.steps[at_])) {
      ++at_;
      return rest(pause->length, [this, done = std::move(done)](bool there) mutable {
        there ? step(std::move(done)) : done(false);
      });
    }
    send(std::get<Send>(script_.steps[at_]), std::move(done));
  }

  // Sends what is next of the bytes.
  template <class Done>
  void send(const Send& what, Done done) {
    if (sent_ >= what.total || what.bytes.empty()) {
      ++at_;
      sent_ = 0;
      return step(std::move(done));
    }
    const std::size_t from = sent_ % what.bytes.size();
    const std::size_t slice = sliceOf(what, from);
    boost::asio::async_write(stream_, boost::asio::buffer(what.bytes.data() + from, slice),
                             [this, &what, done = std::move(done)](
                                 const boost::system::error_code& error, std::size_t size) mutable {
                               if (error) return done(false);
                               sent_ += size;
                               breathe(what, size, std::move(done));
                             });
  }

  std::size_t sliceOf(const Send& what, std::size_t from) const {
    const std::uint64_t rest = std::min<std::uint64_t>(what.bytes.size() - from,  //
                                                       what.total - sent_);
    if (what.bytesPerSecond == 0) return rest;
    return std::min<std::uint64_t>(rest, std::max(what.bytesPerSecond / kSlicesPerSecond, 1U));
  }

  template <class Done>
  void breathe(const Send& what, std::size_t size, Done done) {
    if (what.bytesPerSecond == 0 || sent_ >= what.total) return send(what, std::move(done));
    const Milliseconds pause(static_cast<std::int64_t>(size * 1000U / what.bytesPerSecond));
    rest(pause, [this, &what, done = std::move(done)](bool there) mutable {
      there ? send(what, std::move(done)) : done(false);
    });
  }

  template <class Done>
  void end(Done done) {
    switch (script_.ending) {
      case Ending::kNextRequest:
        return done(true);
      case Ending::kClose:
        return sayGoodbye(std::move(done));
      case Ending::kCut:
        return endStream(std::move(done));
      case Ending::kReset:
        return reset(std::move(done));
      case Ending::kSilence:
        return rest(Milliseconds::max(), std::move(done));
    }
  }

  // Over TLS the notice goes out before the end of the stream; the client's own is not awaited.
  template <class Done>
  void sayGoodbye(Done done) {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      SSL_set_shutdown(stream_.native_handle(),
                       SSL_get_shutdown(stream_.native_handle()) | SSL_RECEIVED_SHUTDOWN);
      stream_.async_shutdown(
          [this, done = std::move(done)](const boost::system::error_code&) mutable {
            endStream(std::move(done));
          });
    } else {
      endStream(std::move(done));
    }
  }

  // Says that nothing more will come, and waits until the client has hung up. A socket closed with
  // bytes unread would reset the connection and could take the reply with it.
  template <class Done>
  void endStream(Done done) {
    boost::system::error_code ignored;  // the client may be gone
    socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
    drain(std::move(done));
  }

  template <class Done>
  void drain(Done done) {
    socket().async_read_some(boost::asio::buffer(scrap_),
                             [this, done = std::move(done)](const boost::system::error_code& error,
                                                            std::size_t) mutable {
                               error ? done(false) : drain(std::move(done));
                             });
  }

  // A reset throws away what the kernel has not passed on: waits until the client has all of it.
  template <class Done>
  void reset(Done done) {
    if (!hungUp() && unsent() > 0) {
      return rest(Milliseconds(1),
                  [this, done = std::move(done)](bool) mutable { reset(std::move(done)); });
    }
    boost::system::error_code ignored;
    socket().set_option(boost::asio::socket_base::linger(true, 0), ignored);
    socket().close(ignored);
    done(false);
  }

  // Calls then(true) after the time, then(false) as soon as the client has hung up.
  template <class Then>
  void rest(Milliseconds length, Then then) {
    const Milliseconds part = std::min(length, kGlance);
    timer_.expires_after(part);
    timer_.async_wait([this, left = length - part,
                       then = std::move(then)](const boost::system::error_code& error) mutable {
      if (error || hungUp()) return then(false);
      left.count() > 0 ? rest(left, std::move(then)) : then(true);
    });
  }

  bool hungUp() {
    pollfd state{socket().native_handle(), POLLRDHUP, 0};
    return ::poll(&state, 1, 0) != 0;
  }

  int unsent() {
    int bytes = 0;
    return ::ioctl(socket().native_handle(), TIOCOUTQ, &bytes) == 0 ? bytes : 0;
  }

  PlainStream& socket() {
    if constexpr (std::is_same_v<Stream, TlsStream>) {
      return stream_.next_layer();
    } else {
      return stream_;
    }
  }

  Stream& stream_;
  boost::asio::steady_timer timer_;
  Script script_;
  std::size_t at_ = 0;      // step
  std::uint64_t sent_ = 0;  // bytes of it
  std::array<char, 1024> scrap_{};
};

}  // namespace kestrelvisor::vrmsim
