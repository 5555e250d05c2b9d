// Lives on an io_context: completions without a queue, with a queue, and with completion tokens.
//
//   example_AsioLoop URL

#include <CorvaneAsio/Asio.hpp>
#include <asio.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
};

void mainQueueOnTheContext(const JSONGetRequest<User>& request) {
  asio::io_context context;
  AsioMainLoop mainLoop(context);

  request.send([&](const JSONResponse<User>& response) {
    std::printf("main queue: %s\n", response.result ? response.result.body()->login.c_str() : "nobody");
    mainLoop.detach();  // or context.stop()
  });

  context.run();
}

void completionQueueOnTheContext(const JSONGetRequest<User>& request) {
  asio::io_context context;
  const AsioQueue queue(context);

  request.send(queue, [](const JSONResponse<User>& response) {
    std::printf("completion queue: %s\n", response.result ? response.result.body()->login.c_str() : "nobody");
  });

  context.run();  // until the completion was called
}

void callbackOnTheContext(const JSONGetRequest<User>& request) {
  asio::io_context context;

  async_send(context, request, [](std::exception_ptr error, HTTPResponse<User> response) {
    std::printf("callback: %s\n", error ? Error::from(error).message().c_str() : response.body.login.c_str());
  });

  context.run();
}

int main(int argc, char** argv) {
  const JSONGetRequest<User> request(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/users/7"));
  mainQueueOnTheContext(request);
  completionQueueOnTheContext(request);
  callbackOnTheContext(request);
  std::printf("future: %s\n", async_send(request, asio::use_future).get().body.login.c_str());
}
