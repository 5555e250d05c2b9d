#pragma once

#include "Corvane/Settings.hpp"

namespace corvane::testkit {

/// Forbids the network while it exists: a request that would use the network, also one to a `TestServer`, fails with an
/// `HTTPNetworkForbiddenError`. Mocks and a `MockNetwork` still respond. Its destructor restores
/// `Corvane::isNetworkForbidden`.
class ForbiddenNetwork {
 public:
  /// Forbids the network from now on.
  ForbiddenNetwork() : wasForbidden_(Corvane::isNetworkForbidden.exchange(true)) {}
  ~ForbiddenNetwork() { Corvane::isNetworkForbidden = wasForbidden_; }
  ForbiddenNetwork(const ForbiddenNetwork&) = delete;
  ForbiddenNetwork& operator=(const ForbiddenNetwork&) = delete;

 private:
  bool wasForbidden_;
};

}  // namespace corvane::testkit
