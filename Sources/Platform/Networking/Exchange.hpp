#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Metrics/ConnectionMetrics.hpp"
#include "Platform/Networking/Connecting/ConnectionTimes.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Pool/AdmissionQueue.hpp"
#include "Platform/Networking/RequestStream.hpp"

namespace platform::networking {

class ConnectionPool;
class PendingConnection;
class HostConnections;
class HTTPConnection;

/// When the phases of an exchange took place, and what it moved. A phase that did not take place has the epoch.
struct ExchangeMetrics {
  TimePoint begun{};  ///< it was handed to the pool, or to be repeated
  TimePoint ended{};
  /// Of the connection that was made for it, also where that failed.
  ConnectionTimes connecting;
  /// Null where there was no connection.
  std::shared_ptr<const ConnectionMetrics> connection;
  TimePoint requestBegun{};
  TimePoint requestEnded{};
  TimePoint headReceived{};
  std::uint64_t headBytesSent = 0;
  std::uint64_t bodyBytesSent = 0;
  std::uint64_t headBytesReceived = 0;
  std::uint64_t bodyBytesReceived = 0;
  bool isConnectionReused = false;
  /// How often the request went out.
  int attempts = 0;
};

/// An attempt after which the request was repeated.
struct FailedAttempt {
  ExchangeMetrics metrics;
  /// The server said that it did not look at the request; otherwise the connection broke.
  bool wasNotProcessed = false;
};

/// Why an exchange ended without a complete response.
struct ExchangeProblem {
  enum class Kind : std::uint8_t {
    network,          ///< `failure` says what happened
    timedOut,         ///< nothing moved for the idle time-out
    connectTimedOut,  ///< there was no connection within the connect time-out
    rejected          ///< the server was judged, and not trusted: `rejection`
  };
  Kind kind = Kind::network;
  Failure failure;
  std::optional<Error> rejection;
  /// Whether a byte of the request may have left, so that the server may have acted on it.
  bool requestWasSent = false;
};

/// Who an exchange is made for. Loop side only.
class ExchangeOwner {
 public:
  // Stays as it is while the request is on a connection.
  virtual const RequestHead& requestHead() const = 0;
  /// Null: none.
  virtual RequestBody* requestBody() = 0;
  /// The request is about to go out on a connection of the pool, for the first time or once more: the head may change.
  virtual void requestGoesOut() noexcept = 0;

  // Where memory runs out in these, the exchange ends with that.
  virtual BodyDisposition responseHead(const ResponseHeadView& head) = 0;
  /// False ends the exchange, as `ConnectionPool::withdraw` does: the owner knows why.
  virtual bool responseBody(Bytes bytes) = 0;
  virtual std::span<std::byte> responseRoom(std::size_t count) = 0;
  virtual bool responseFilled(std::size_t count) = 0;
  virtual void requestBodySent(std::uint64_t total) = 0;
  /// Once, at the end, unless it was withdrawn or `responseBody` said no. Without a problem the response is complete.
  virtual void exchangeEnded(std::optional<ExchangeProblem> problem) noexcept = 0;
  /// The owner refused the body: the exchange is over.
  virtual void exchangeRefused() noexcept = 0;

 protected:
  ~ExchangeOwner() = default;
};

/// One request and its response, whatever connection carries them, over as many connections as repeating takes
/// (RFC 9110, 9.2.2). Reused for one request after the other. It stays where it is in memory, and is outside of the
/// pool when it is destroyed. Loop side only.
class Exchange final : public AdmissionEntry, public ListLinks<Exchange>, private RequestStream, private Timer {
 public:
  enum class State : std::uint8_t {
    outside,     ///< not in the pool
    admission,   ///< waits for its turn
    connection,  ///< admitted; waits for a connection that it can use
    underWay     ///< on a connection
  };

  Exchange(ConnectionPool& pool, ExchangeOwner& owner) : pool_(pool), owner_(owner), connectTime_(*this) {}
  ~Exchange() override = default;

  State state() const { return state_; }
  /// How long it may wait while a connection is being made for it; zero: no limit. While it is outside.
  void setConnectTimeout(Duration limit) { connectTimeout_ = limit; }
  /// Whether more of the response's body is wanted at the moment: see `HTTPConnection::setReading`. While it is not,
  /// the idle time-out stands still. Does nothing unless it is under way.
  void setReading(bool isWanted);
  /// Of the last attempt.
  const ExchangeMetrics& metrics() const { return metrics_; }
  /// The attempts before the last one.
  const std::vector<FailedAttempt>& failedAttempts() const { return failedAttempts_; }
  void forgetMetrics();
  /// Whether a byte of the request may have left.
  bool requestWasSent() const { return metrics_.attempts > 0; }
  /// The owner's body has nothing to send for now: until it has, or the server refuses it, the idle time stands still.
  void bodyAwaited();
  /// It has something again.
  void bodyReady();
  /// The number of the first connection that may serve it: where a kept one broke, it is to be a newer one.
  std::uint64_t firstConnection() const { return firstConnection_; }

 private:
  friend class ConnectionPool;
  friend class HostConnections;

  // Of the request, as the connection asks for it.
  const RequestHead& requestHead() const override { return owner_.requestHead(); }
  RequestBody* requestBody() override { return owner_.requestBody(); }
  // Of the response, as the connection tells of it.
  void requestBegan(std::size_t headBytes) override;
  void bodySent(std::uint64_t total) override;
  void requestEnded() override;
  void progressed() override { touch(); }
  BodyDisposition head(const ResponseHeadView& head) override;
  bool body(Bytes bytes) override;
  std::span<std::byte> bodyRoom(std::size_t count) override { return owner_.responseRoom(count); }
  bool bodyFilled(std::size_t count) override;
  void bodyDiscarded(std::size_t count) override { metrics_.bodyBytesReceived += count; }
  void end() override;
  void failed(ExchangeFailure failure) override;
  void timerFired() override;

  class ConnectTime final : public Timer {
   public:
    explicit ConnectTime(Exchange& exchange) : exchange_(exchange) {}

   private:
    void timerFired() override;

    Exchange& exchange_;
  };

  void touch();
  /// And the connect time, of one that waits for a connection.
  void startIdleTime();
  void stopIdleTime();
  void stopConnectTime();
  void continueIdleTime();
  bool mayRepeat(const ExchangeFailure& failure) const;
  /// Throws `std::bad_alloc`.
  void beginRepeat(bool wasNotProcessed);
  bool accepted(bool isTaken, std::size_t count);
  RequestStream& stream() { return *this; }

  ConnectionPool& pool_;
  ExchangeOwner& owner_;
  State state_ = State::outside;
  HostConnections* host_ = nullptr;  ///< unless outside, or on a connection that is not the pool's
  Duration idleTimeout_{};
  Duration connectTimeout_{};
  ConnectTime connectTime_;
  ExchangeMetrics metrics_;
  std::vector<FailedAttempt> failedAttempts_;
  /// Of `State::connection`: what is being made for it; null: it waits for what another one comes to.
  PendingConnection* pending_ = nullptr;
  /// Of `State::underWay`.
  HTTPConnection* connection_ = nullptr;
  bool isOnKeptConnection_ = false;
  bool awaitsBody_ = false;
  bool isReadingWanted_ = true;
  std::uint64_t firstConnection_ = 0;
  int repeats_ = 0;
};

}  // namespace platform::networking
