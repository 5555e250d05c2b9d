// expect: `retryDelta` must be an integer: whole seconds
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
#ifdef CORVANE_CORRECT
  static constexpr int retryDelta = 1;
#else
  static constexpr double retryDelta = 0.5;
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
