// expect first: A mixin is given the type that derives from it
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Other : DataGetRequestable<Other> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Other> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 1;
  static constexpr std::int64_t retryLimit = 3;
};

void use() {
  Get().send([](auto) {});
}
