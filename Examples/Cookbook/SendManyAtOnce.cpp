#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  std::vector<DataGetRequest> requests;
  for (int size = 1; size <= 100; ++size) requests.emplace_back(argv[1] + ("bytes/" + std::to_string(size)));

  const auto responses = send(requests, HTTPBatchMode::parallel(8)).get();
  std::size_t bytes = 0;
  for (const DataResponse& response : responses) bytes += response.result ? response.data->count() : 0;
  std::printf("%zu responses, %zu bytes\n", responses.size(), bytes);
}
