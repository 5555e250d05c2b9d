// Awaits several requests at a time, the first of two, a time between two, and all of that for so long only.
//
//   example_Composition http://127.0.0.1:8080/bytes/100 http://127.0.0.1:8080/delay/10

#include <Corvane/Corvane.hpp>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace corvane;
using namespace std::chrono_literals;

Task<std::size_t> bytesOfBoth(URL first, URL second) {
  const auto [one, two] = co_await whenAll(DataGetRequest(first).send(), DataGetRequest(second).send());
  co_return one.body.count() + two.body.count();
}

Task<std::size_t> placeOfTheFaster(std::vector<URL> servers) {
  std::vector<Future<HTTPResponse<Data>>> responses;
  for (const URL& server : servers) responses.push_back(DataGetRequest(server).send());
  const auto first = co_await whenAnySucceeds(responses);
  co_return first.index;
}

Task<std::size_t> bytesOneByOne(std::vector<URL> pages) {
  std::size_t bytes = 0;
  for (const URL& page : pages) {
    bytes += (co_await DataGetRequest(page).send()).body.count();
    co_await sleepFor(10ms);
  }
  co_return bytes;
}

Task<> show(URL fast, URL slow) {
  const std::vector<URL> servers{slow, fast}, pages{fast, fast, fast};
  std::printf("%zu bytes\n", co_await bytesOfBoth(fast, fast));
  std::printf("number %zu was faster\n", co_await placeOfTheFaster(servers));
  std::printf("%zu bytes\n", co_await bytesOneByOne(pages));
  try {
    co_await withTimeout(250ms, bytesOfBoth(fast, slow));
  } catch (const Error& error) {
    std::printf("%s\n", error.message().c_str());
  }
}

int main(int argc, char** argv) try {
  show(URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100"),
       URL(argc > 2 ? argv[2] : "http://127.0.0.1:8080/delay/10"))
      .get();
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
