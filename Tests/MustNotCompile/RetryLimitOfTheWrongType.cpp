// expect: `retryLimit` must be an integer
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
#ifdef CORVANE_CORRECT
  std::size_t retryLimit = 3;
#else
  double retryLimit = 3;
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
