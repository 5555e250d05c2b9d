// Receives the events that a server sends, also after the connection was lost.
//
//   example_ServerSentEvents URL

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

Task<> show(URL url) {
  auto events = serverSentEvents(StreamGetRequest(url), {.reconnects = true, .wait = 0.1, .reconnectLimit = 3});
  while (const auto event = co_await events.next()) {
    std::printf("%s %s: %s\n", event->event.c_str(), event->id.c_str(), event->data.c_str());
  }
}

int main(int argc, char** argv) try {
  show(argc > 1 ? argv[1] : "http://127.0.0.1:8080/events/3").get();
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
