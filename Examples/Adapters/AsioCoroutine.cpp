// Awaits a request in a coroutine of Asio's, for no longer than a timer lasts.
//
//   example_AsioCoroutine URL...

#include <CorvaneAsio/Asio.hpp>
#include <asio.hpp>
#include <asio/experimental/as_tuple.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <cstdio>

using namespace corvane;
using namespace asio::experimental::awaitable_operators;

// `||` waits for the first success, so a failure is made one: a tuple that holds it.
constexpr auto token = asio::experimental::as_tuple(asio::use_awaitable);

asio::awaitable<void> show(URL url) {
  const DataGetRequest request(url);
  asio::steady_timer patience(co_await asio::this_coro::executor, std::chrono::milliseconds(500));

  const auto first = co_await (async_send(request, token) || patience.async_wait(token));

  if (first.index() == 1) {
    std::printf("it took too long, and was cancelled\n");
  } else if (const auto& [error, response] = std::get<0>(first); error) {
    std::printf("%s\n", Error::from(error).message().c_str());
  } else {
    std::printf("%zu bytes\n", response.body.count());
  }
}

asio::awaitable<void> showAll(std::vector<URL> urls) {
  for (const URL& url : urls) co_await show(url);
}

int main(int argc, char** argv) {
  const std::vector<URL> urls(argv + 1, argv + argc);
  asio::io_context context;
  asio::co_spawn(context, showAll(urls), [](std::exception_ptr error) {
    if (error) std::rethrow_exception(error);
  });

  try {
    context.run();
  } catch (const Error& error) {
    std::printf("%s\n", error.message().c_str());
  }
}
