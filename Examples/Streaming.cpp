// Reads a response while it arrives: its bytes, and its lines as models.
//
//   example_Streaming URL

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

Task<std::size_t> length(Feed feed) {
  auto stream = feed.stream();
  const auto head = co_await stream.head();  // may be left out
  std::printf("status %d\n", *head.statusCode());
  std::size_t bytes = 0;
  while (const auto piece = co_await stream.next()) bytes += piece->count();
  co_return bytes;
}

struct Entry {
  std::int64_t line;
  std::string method;
};

Task<> printEntries(Feed feed) {
  auto entries = jsonLines<Entry>(feed.stream());
  while (const auto entry = co_await entries.next()) {
    std::printf("%s number %d\n", entry->method.c_str(), static_cast<int>(entry->line));
  }
}

std::size_t handedOver(const Feed& feed) {
  const DispatchQueue queue("feed");
  Future<void> done;
  std::size_t bytes = 0;
  feed.stream(
      {.queue = queue, .deadline = 10},
      [&bytes](const Data& piece) { bytes += piece.count(); },  // the transport goes on when this returns
      [done](const HTTPStreamResponse& response) { done.markResult(response.result); });
  done.get();
  return bytes;
}

int main(int argc, char** argv) try {
  const Feed feed{.url = URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/stream/3")};

  const std::size_t bytes = length(feed).get();
  printEntries(feed).get();
  std::printf("%s\n", handedOver(feed) == bytes ? "the same again" : "something else");
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
