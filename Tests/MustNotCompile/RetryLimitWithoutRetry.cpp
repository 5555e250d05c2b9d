// expect first: `retryInterval` does nothing in this request: derive from HTTPRetryAttempting, too
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
#else
struct Get : DataGetRequestable<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 1;
  static constexpr std::int64_t retryLimit = 3;
};

void use() {
  Get().send([](auto) {});
}
