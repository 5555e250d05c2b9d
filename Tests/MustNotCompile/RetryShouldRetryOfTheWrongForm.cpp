// expect: `shouldRetry` must be `bool shouldRetry.const Response& response. const`
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
#ifdef CORVANE_CORRECT
  bool shouldRetry(const DataResponse&) const { return true; }
#else
  bool shouldRetry() const { return true; }
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
