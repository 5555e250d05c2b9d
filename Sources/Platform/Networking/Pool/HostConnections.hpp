#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Networking/Exchange.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Pool/ConnectionBudget.hpp"
#include "Platform/Networking/Pool/PendingConnection.hpp"
#include "Platform/Networking/Pool/PooledConnection.hpp"
#include "Platform/Networking/Pool/RequestPace.hpp"

namespace platform::networking {

class ConnectionPool;

/// The connections to one host, those that are being made, and the exchanges that wait for one. Loop side only.
///
/// An exchange takes a connection that is there: an HTTP/2 one with room, else the HTTP/1.1 one that was used last.
/// Otherwise one is made for it; but where one connection may serve all, since the host may speak HTTP/2, only one is
/// made at a time, and one more whenever `patience` ends. The idle time of those who wait counts while a connection is
/// being made, not while they wait for room on one that is there; after `roomPatience` they get another one. Where the
/// pool has no connection to spare, the host waits for its turn to make one, and no time counts for the exchanges.
class HostConnections final : public ConnectionParty, private Timer {
 public:
  static constexpr Duration patience = std::chrono::milliseconds(300);
  static constexpr Duration roomPatience = std::chrono::seconds(5);

  HostConnections(ConnectionPool& pool, Route route);
  ~HostConnections() override;
  HostConnections(const HostConnections&) = delete;
  HostConnections& operator=(const HostConnections&) = delete;

  ConnectionPool& pool() const { return pool_; }
  const Route& route() const { return route_; }
  /// The exchanges to this host, wherever they are.
  AdmissionHost& admission() { return admission_; }
  bool isUnused() const {
    return admission_.isUnused() && pending_.empty() && connections_.empty() && !(pace_ && pace_->isHolding());
  }

  /// Starts an admitted exchange, now or when there is a connection for it.
  void serve(Exchange& exchange);
  /// Takes the exchange out, wherever it is. `hasTimedOut`: what was made for it is of no use to others either.
  void withdraw(Exchange& exchange, bool hasTimedOut);
  /// An exchange that waited for a connection has left.
  void leftUnsent() {
    if (pace_) pace_->wasSent();
  }
  /// The verdict on a server; false when nothing here waits for it.
  bool decide(const std::shared_ptr<const TrustQuery>& query, const std::optional<Error>& rejection);
  /// Ends one connection that is being made for nobody; false when there is none.
  bool endSpare();

  // Told by what is being made, and by connections.
  void pendingProgressed(PendingConnection& pending);
  void pendingAsksTrust(PendingConnection& pending);
  void pendingOpened(PendingConnection& pending, OpenStream open);
  void pendingFailed(PendingConnection& pending, Failure failure);
  void connectionAvailable(PooledConnection& connection);
  void connectionRetired(PooledConnection& connection);
  void connectionClosed(PooledConnection& connection);

 private:
  enum class Protocol : std::uint8_t { unknown, http1, http2 };

  void timerFired() override;
  void slotGranted(ConnectionSlot slot) override;
  bool wantsSlot() const override { return firstUnattended() != nullptr; }
  PooledConnection* usableConnection(const Exchange& exchange);
  /// Whether one connection may serve all exchanges.
  bool mayShare() const;
  bool isRoomLikely(const Exchange& exchange) const;
  bool isJudging() const;
  void start(Exchange& exchange, PooledConnection& connection);
  void removeIdle(PooledConnection& connection);
  /// False when it has to wait for its turn to make one.
  bool connectFor(Exchange* exchange);
  void makeConnection(Exchange* exchange, ConnectionSlot slot);
  void waitForSlot();
  void waitForOne();
  bool inheritsSpare(Exchange& exchange);
  enum class Making : std::uint8_t { oneToShare, oneForEach };
  void connectForWaiting(Making making = Making::oneToShare);
  void connectIfNothingIsLikely();
  void waitForRoom();
  void endWaiting(Exchange& exchange, Failure failure);
  void endFailed(Exchange* exchange, Failure failure);
  PooledConnection& adopt(OpenStream open, bool isMultiplexed, ConnectionSlot slot);
  void serveWaiting(PooledConnection& connection);
  Exchange* firstServedBy(const PooledConnection& connection) const;
  /// What becomes of a connection that is being made for nobody any more.
  enum class Unneeded : std::uint8_t { isEnded, isKept };
  void takeFromWaiting(Exchange& exchange, Unneeded unneeded = Unneeded::isEnded);
  /// How far the connection came that is being made for it.
  static void noteConnecting(Exchange& exchange);
  void endPending(PendingConnection& pending);
  std::unique_ptr<PendingConnection> removePending(PendingConnection& pending);
  Exchange* firstUnattended() const;

  ConnectionPool& pool_;
  const Route route_;
  AdmissionHost admission_;
  std::unique_ptr<RequestPace> pace_;  ///< null: as fast as they come
  Protocol protocol_ = Protocol::unknown;
  IntrusiveList<Exchange> waiting_;
  std::vector<std::unique_ptr<PendingConnection>> pending_;
  std::vector<std::unique_ptr<PooledConnection>> connections_;
  /// Of the HTTP/1.1 connections, those that wait for use; the one used last comes last.
  std::vector<PooledConnection*> idle_;
  /// The HTTP/2 connections.
  std::vector<PooledConnection*> shared_;
};

}  // namespace platform::networking
