#include "Platform/Networking/Pool/PendingConnection.hpp"

#include <utility>

#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::networking {

PendingConnection::PendingConnection(HostConnections& host, Exchange* exchange, ConnectionSlot slot)
    : host_(host),
      exchange_(exchange),
      begun_(host.pool().loop().now()),
      slot_(std::move(slot)),
      connector_(host.pool().loop(), host.pool().resolver(), host.pool().options(), host.pool().context(), host.route(),
                 *this) {}

void PendingConnection::connectorProgressed(Connector&) { host_.pendingProgressed(*this); }

void PendingConnection::connectorAsksTrust(Connector&, std::shared_ptr<const TrustQuery> query) {
  query_ = std::move(query);
  host_.pendingAsksTrust(*this);
}

void PendingConnection::connectorOpened(Connector&, OpenStream open) noexcept {
  host_.pendingOpened(*this, std::move(open));
}

void PendingConnection::connectorFailed(Connector&, Failure failure) noexcept {
  host_.pendingFailed(*this, std::move(failure));
}

}  // namespace platform::networking
