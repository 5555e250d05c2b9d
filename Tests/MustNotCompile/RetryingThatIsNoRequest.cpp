// expect: A behaviour is adopted beside a request mixin
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
#else
struct Get : HTTPRetryAttempting<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
