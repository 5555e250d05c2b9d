// Sends a request and gets the response on a queue of one's own, while the program goes on.

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int argc, char** argv) {
  const DispatchQueue queue("example.responses");
  bool done = false;

  DataGetRequest(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/"), {.queryItems = {{"page", 2}}})
      .send(queue, [&done](const DataResponse& response) {
        if (const Data* body = response.result.body()) {
          std::printf("%d: %zu bytes\n", static_cast<int>(response.status.rawValue()), body->count());
        } else {
          std::printf("failed: %s\n", response.result.error()->message().c_str());
        }
        DispatchQueue::main().async([&done] { done = true; });
      });

  DispatchQueue::main().runUntil([&done] { return done; });
}
