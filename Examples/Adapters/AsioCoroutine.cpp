// Awaits a request in a coroutine of Asio's, for no longer than a timer lasts.
//
//   example_AsioCoroutine QUICK_URL SLOW_URL

#include <CorvaneAsio/Asio.hpp>
#include <asio.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <cstdio>

using namespace corvane;
using namespace asio::experimental::awaitable_operators;

asio::awaitable<void> show(URL url) {
  const DataGetRequest request(url);
  asio::steady_timer patience(co_await asio::this_coro::executor, std::chrono::milliseconds(500));

  const auto first = co_await (async_send(request, asio::use_awaitable) || patience.async_wait(asio::use_awaitable));

  if (const auto* response = std::get_if<0>(&first)) {
    std::printf("%zu bytes\n", response->body.count());
  } else {
    std::printf("it took too long, and was cancelled\n");
  }
}

asio::awaitable<void> showAll(URL quick, URL slow) {
  co_await show(quick);
  co_await show(slow);
}

int main(int argc, char** argv) {
  const URL quick(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100");
  const URL slow(argc > 2 ? argv[2] : "http://127.0.0.1:8080/delay/10");
  asio::io_context context;
  asio::co_spawn(context, showAll(quick, slow), [](std::exception_ptr error) {
    if (error) std::rethrow_exception(error);
  });

  try {
    context.run();
  } catch (const Error& error) {
    std::printf("%s\n", error.message().c_str());
  }
}
