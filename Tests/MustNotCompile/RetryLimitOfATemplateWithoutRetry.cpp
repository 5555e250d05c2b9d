// expect first: `retryLimit` does nothing in this request: derive from HTTPRetryAttempting, too
#include "Corvane/Corvane.hpp"

using namespace corvane;

template <class Body>
#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get<Body>>, HTTPRetryAttempting<Get<Body>> {
  static constexpr double retryInterval = 2;
#else
struct Get : DataGetRequestable<Get<Body>> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  static int retryLimit() { return 3; }
};

void use() {
  Get<int>().send([](auto) {});
}
