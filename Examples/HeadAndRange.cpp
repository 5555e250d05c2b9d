// Asks about a resource without its body, gets the end of it, and looks at responses whether they are successes or not.
//
//   example_HeadAndRange http://127.0.0.1:8080/bytes/100 http://127.0.0.1:8080/status/404

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

void describe(const URL& url) {
  const DataResponse response = DataHeadRequest(url).send(wholeResponse).get();
  if (response.result) {
    std::printf("%lld bytes\n", static_cast<long long>(response.expectedContentLength.value_or(-1)));
  } else {
    std::printf("status %d\n", response.statusCode().value_or(0));
  }
}

/// The bytes from the first one on, of a server that need not know of ranges.
std::string textFrom(std::int64_t first, const URL& url) {
  const DataGetRequest request(url,
                               {.headers = {{"Range", HTTPByteRange::from(first)}, {"Accept-Encoding", "identity"}}});
  const HTTPResponse<Data> response = request.send().get();

  if (response.status == HTTPStatus::partialContent) {
    const auto range = HTTPContentRange::of(*response.headers);
    if (range && range->bytes && range->bytes->first == first) return response.body.text();
    throw Error("Example", 1, "the server sent other bytes");
  }
  return response.body.text().substr(static_cast<std::size_t>(first));
}

int main(int argc, char** argv) try {
  for (int number = 1; number < argc; ++number) describe(argv[number]);
  if (argc > 1) std::printf("%zu bytes at the end\n", textFrom(90, argv[1]).size());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
