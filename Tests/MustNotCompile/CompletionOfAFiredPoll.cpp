// expect first: A completion is called with the response
#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get>, HTTPPolling<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 3;
};

void use() {
#ifdef CORVANE_CORRECT
  Get::firePoll(Get(), DispatchQueue::main(), [](DataResponse) {});
#else
  Get::firePoll(Get(), DispatchQueue::main(), [](JSONResponse<int>) {});
#endif
}
