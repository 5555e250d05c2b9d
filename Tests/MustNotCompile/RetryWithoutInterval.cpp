// expect: `retryInterval` is required
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr int retryLimit = 3;
#ifdef CORVANE_CORRECT
  static constexpr double retryInterval = 2;
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
