// expect: `sendFromPoll` is for request types that are HTTPPolling, too
#include "Corvane/Corvane.hpp"

using namespace corvane;

#ifdef CORVANE_CORRECT
struct Get : DataGetRequestable<Get>, HTTPPolling<Get>, HTTPRetryAttempting<Get> {
#else
struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
#endif
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
};

void use() {
  Get().sendFromPoll(std::nullopt, [](auto) {});
}
