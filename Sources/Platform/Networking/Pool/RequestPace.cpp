#include "Platform/Networking/Pool/RequestPace.hpp"

#include <algorithm>

#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::networking {

RequestPace::~RequestPace() { pool_.loop().disarm(*this); }

void RequestPace::began() {
  bucket_.spend(1, pool_.loop().now());
  ++unsent_;
  pool_.admission().hold(host_);
  if (unsent_ < mostUnsent) pool_.loop().arm(*this, bucket_.due(1));
}

void RequestPace::wasSent() {
  --unsent_;
  if (!isArmed() && isHolding()) pool_.loop().arm(*this, std::max(bucket_.due(1), pool_.loop().now()));
}

/// It may have been armed before more requests began.
void RequestPace::timerFired() {
  if (unsent_ >= mostUnsent) return;
  if (!bucket_.has(1, pool_.loop().now())) return pool_.loop().arm(*this, bucket_.due(1));
  pool_.admission().release(host_);
  pool_.admit();
}

}  // namespace platform::networking
