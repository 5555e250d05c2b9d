#include <Corvane/Corvane.hpp>
#include <Corvane/Insight/HTTPMetrics.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

int main(int, char** argv) {
  const auto response = DataGetRequest(argv[1] + std::string("delay/0.3")).send(wholeResponse).get();

  for (const TransactionMetrics& each : response.metrics->transactions) {
    if (each.connect && each.connect->length() > 200ms) std::printf("connecting is slow\n");
    if (each.secure && each.secure->length() > 200ms) std::printf("TLS is slow\n");
    if (!each.request || !each.response) continue;
    if (each.response->start - each.request->end > 200ms) std::printf("the server is slow\n");
    if (each.response->length() > 200ms) std::printf("the response is large\n");
  }
}
