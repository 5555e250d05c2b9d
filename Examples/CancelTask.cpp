// Cancels a coroutine, and with it the request that it awaits.
//
//   example_CancelTask URL

#include <Corvane/Corvane.hpp>
#include <Velisand/Task.hpp>
#include <cstdio>

using namespace corvane;

velisand::Task<std::size_t> bytesOf(URL url) { co_return (co_await DataGetRequest(url).send()).body.count(); }

velisand::Task<> show(URL url) {
  try {
    std::printf("%zu bytes\n", co_await bytesOf(url));
  } catch (const Error& error) {
    std::printf("%s\n", error.message().c_str());
  }
}

int main(int argc, char** argv) {
  const auto task = show(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/delay/10"));
  task.cancel();
  task.wait();
}
