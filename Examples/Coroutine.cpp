// Awaits one response after the other.

#include <Corvane/Corvane.hpp>
#include <Velisand/Task.hpp>
#include <cstdio>

using namespace corvane;

velisand::Task<std::size_t> bytesOf(URL first, URL second) {
  const auto one = co_await DataGetRequest(first).send();
  const auto two = co_await DataGetRequest(second).send();
  co_return one.body.count() + two.body.count();
}

int main(int argc, char** argv) try {
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/");
  std::printf("%zu bytes\n", bytesOf(url, url).get());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
