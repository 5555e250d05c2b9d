#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct GetPrices : DataGetRequestable<GetPrices>, HTTPRetryAttempting<GetPrices> {
  URL url;
  static constexpr std::int64_t retryLimit = 4;
  static constexpr HTTPRetryPolicy retryPolicy = HTTPRetryPolicy::exponential(0.05, 10);
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int, char** argv) {
  const GetPrices request{.url = argv[1] + std::string("flaky/2")};
  const auto result = request.sendAttemptingRetry().get();
  std::printf("%zu attempts failed, then: %s\n", result.failedResponses().size(),
              result.lastResponse()->data->text().c_str());
}
