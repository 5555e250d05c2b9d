// expect first: The completion of a retrying send is called with the responses of all attempts
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
};

void use() {
#ifdef CORVANE_CORRECT
  Get().sendAttemptingRetry({.deadline = 5}, [](HTTPRetryResult<DataResponse>) {});
#else
  Get().sendAttemptingRetry({.deadline = 5}, [](DataResponse) {});
#endif
}
