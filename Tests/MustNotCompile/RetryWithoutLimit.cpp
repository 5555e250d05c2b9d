// expect: `retryLimit` is required
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
#ifdef CORVANE_CORRECT
  static constexpr int retryLimit = 3;
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
