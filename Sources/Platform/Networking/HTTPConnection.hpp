#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "Platform/Metrics/ConnectionMetrics.hpp"
#include "Platform/Networking/Connecting/ConnectionTimes.hpp"
#include "Platform/Networking/RequestStream.hpp"

namespace platform::networking {

class HTTPConnection;

/// Who keeps connections. Told after the exchanges concerned were told. It may destroy the connection when told that
/// it closed, and only then; otherwise it does so outside of its callbacks.
class HTTPConnectionOwner {
 public:
  /// It takes more exchanges than before, as many as `HTTPConnection::capacity` says, or nothing is under way on it any
  /// more. May be told again.
  virtual void connectionAvailable(HTTPConnection& connection) = 0;
  /// It takes no more exchanges, now or ever; those under way go on. Told once, at once before `connectionClosed` or
  /// earlier (a server that retires an HTTP/2 connection).
  virtual void connectionRetired(HTTPConnection& connection) = 0;
  /// It is over; no exchange is under way on it, and the stream is shut down. Told once.
  virtual void connectionClosed(HTTPConnection& connection) = 0;

 protected:
  ~HTTPConnectionOwner() = default;
};

/// An open connection that speaks HTTP, in one of its versions. Owns its stream. Loop side only.
class HTTPConnection {
 public:
  virtual ~HTTPConnection() = default;
  HTTPConnection(const HTTPConnection&) = delete;
  HTTPConnection& operator=(const HTTPConnection&) = delete;

  /// "HTTP/1.1" or "HTTP/2".
  virtual std::string_view protocol() const = 0;
  /// How many more exchanges it takes now; 0 when it is retired.
  virtual std::size_t capacity() const = 0;
  /// How many exchanges are under way.
  virtual std::size_t active() const = 0;
  /// How many exchanges were started on it, ever: from the second on it is a kept connection.
  virtual std::uint64_t started() const = 0;
  /// When the server was last heard of, as far as that tells whether the connection is alive; the end of time where
  /// every exchange that is cancelled ends the connection anyway.
  virtual TimePoint lastReceived() const { return TimePoint::max(); }
  /// Until when a limit of ours held its bytes back: the present while it does. Silence before does not count.
  virtual TimePoint heldBackUntil() const { return {}; }
  /// Sends the request, and tells the exchange of what comes of it. May call back at once. Requires: `capacity() > 0`.
  virtual void start(RequestStream& exchange) = 0;
  /// Ends the exchange without another call to it. Over HTTP/1.1 the connection is closed, over HTTP/2 the stream is
  /// reset. Requires: it is under way here.
  virtual void cancel(RequestStream& exchange) = 0;
  /// The body of the request has bytes again, after `BodyStatus::pending`.
  virtual void bodyReady(RequestStream& exchange) = 0;
  /// Whether more of the response's body is wanted at the moment: `false` stops reading, so that a slow consumer slows
  /// the server down. Over HTTP/2 the server may still send, and the exchange is still told, what the stream's window
  /// allows.
  virtual void setReading(RequestStream& exchange, bool isWanted) = 0;
  /// Closes it as soon as nothing is under way: at once when idle.
  virtual void retire() = 0;

  const ConnectionTimes& times() const { return times_; }
  const std::shared_ptr<const ConnectionMetrics>& metrics() const { return metrics_; }
  void setMetrics(const ConnectionTimes& times, std::shared_ptr<const ConnectionMetrics> metrics) {
    times_ = times;
    metrics_ = std::move(metrics);
  }

 protected:
  HTTPConnection() = default;

 private:
  ConnectionTimes times_;
  std::shared_ptr<const ConnectionMetrics> metrics_;
};

}  // namespace platform::networking
