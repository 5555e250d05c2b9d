#pragma once

#include <memory>
#include <utility>

#include "Platform/Networking/Connecting/Connector.hpp"
#include "Platform/Networking/Pool/ConnectionBudget.hpp"

namespace platform::networking {

class Exchange;
class HostConnections;

/// One connection that is being made. Loop side only.
class PendingConnection final : private ConnectorOwner {
 public:
  PendingConnection(HostConnections& host, Exchange* exchange, ConnectionSlot slot);
  PendingConnection(const PendingConnection&) = delete;
  PendingConnection& operator=(const PendingConnection&) = delete;

  void start() { connector_.start(); }
  /// Whom it is made for; null: for any that can use it.
  Exchange* exchange() const { return exchange_; }
  void setExchange(Exchange* exchange) { exchange_ = exchange; }
  TimePoint begun() const { return begun_; }
  const ConnectionTimes& times() const { return connector_.times(); }
  /// Null until an address has connected.
  std::shared_ptr<const ConnectionMetrics> metricsSoFar() const noexcept { return connector_.metricsSoFar(); }
  /// Whether only the verdict on the server holds it up.
  bool isBeingJudged() const { return connector_.phase() == Connector::Phase::judging; }
  const std::shared_ptr<const TrustQuery>& query() const { return query_; }
  /// For the connection that it has become.
  ConnectionSlot takeSlot() { return std::move(slot_); }
  /// The verdict is for the server.
  void accept() { connector_.applyVerdict(true); }

 private:
  void connectorProgressed(Connector& connector) override;
  void connectorAsksTrust(Connector& connector, std::shared_ptr<const TrustQuery> query) override;
  void connectorOpened(Connector& connector, OpenStream open) noexcept override;
  void connectorFailed(Connector& connector, Failure failure) noexcept override;

  HostConnections& host_;
  Exchange* exchange_;
  const TimePoint begun_;
  std::shared_ptr<const TrustQuery> query_;
  ConnectionSlot slot_;  ///< returned once the connector has closed what it opened
  Connector connector_;
};

}  // namespace platform::networking
