// expect: `retryInterval` must be a number of seconds or a std::chrono duration
#include <chrono>

#include "Corvane/Corvane.hpp"

using namespace corvane;

struct Get : DataGetRequestable<Get>, HTTPRetryAttempting<Get> {
  HTTPHeaders sharedHeaders() const { return {}; }
  static constexpr int retryLimit = 3;
#ifdef CORVANE_CORRECT
  std::chrono::milliseconds retryInterval{500};
#else
  std::string retryInterval = "500 ms";
#endif
};

void use() {
  Get().sendAttemptingRetry([](auto) {});
}
