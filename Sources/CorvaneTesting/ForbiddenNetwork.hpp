#pragma once

#include "Corvane/Settings.hpp"

namespace corvane::testing {

/// Forbids the network while it lives: a request that would use it fails with an `HTTPNetworkForbiddenError`, also one
/// to a `TestServer`. Mocks still answer. Afterwards `Corvane::isNetworkForbidden` is what it was.
class ForbiddenNetwork {
 public:
  /// Forbids it from now on.
  ForbiddenNetwork() : wasForbidden_(Corvane::isNetworkForbidden.exchange(true)) {}
  ~ForbiddenNetwork() { Corvane::isNetworkForbidden = wasForbidden_; }
  ForbiddenNetwork(const ForbiddenNetwork&) = delete;
  ForbiddenNetwork& operator=(const ForbiddenNetwork&) = delete;

 private:
  bool wasForbidden_;
};

}  // namespace corvane::testing
