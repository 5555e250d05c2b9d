#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct Entry {
  std::int64_t line;
};
struct Log : DataGetRequestable<Log>, HTTPStreaming<Log> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

// One JSON document a line, each as soon as it has arrived.
Task<> printLines(Log log) {
  auto entries = jsonLines<Entry>(log.stream());
  while (const auto entry = co_await entries.next()) std::printf("line %d\n", static_cast<int>(entry->line));
}

int main(int, char** argv) { printLines(Log{.url = argv[1] + std::string("stream/3")}).get(); }
