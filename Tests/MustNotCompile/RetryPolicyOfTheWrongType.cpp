// expect: `retryPolicy` must be an HTTPRetryPolicy
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
#ifdef CORVANE_CORRECT
  HTTPRetryPolicy retryPolicy() const { return {.jitter = 0.5}; }
#else
  double retryPolicy() const { return 0.5; }
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
