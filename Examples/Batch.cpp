// Sends many requests of one kind, a few at a time, and then one after another.
//
//   example_Batch http://127.0.0.1:8080

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) {
  const std::string server = argc > 1 ? argv[1] : "http://127.0.0.1:8080";

  std::vector<DataGetRequest> requests;
  for (int size = 1; size <= 20; ++size) requests.emplace_back(server + "/bytes/" + std::to_string(size));

  const std::vector<DataResponse> responses = send(requests, HTTPBatchMode::parallel(8)).get();
  std::size_t bytes = 0;
  for (const DataResponse& response : responses)
    if (const Data* body = response.result.body()) bytes += body->count();
  std::printf("%zu responses, %zu bytes\n", responses.size(), bytes);

  bool isDone = false;
  send(
      requests, DispatchQueue::main(), false,
      [](const DataGetRequest& request, const DataResponse& response) {
        if (!response.result) std::printf("%s failed\n", request.url().absoluteString().c_str());
      },
      [&](const std::vector<DataResponse>& inOrder) {
        std::printf("the first had %zu byte, the last %zu\n", inOrder.front().data->count(),
                    inOrder.back().data->count());
        isDone = true;
      });
  DispatchQueue::main().runUntil([&] { return isDone; });
  return isDone ? 0 : 1;
}
