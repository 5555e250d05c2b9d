#include <array>
#include <memory>
#include <span>
#include <vector>

#include "SweepRun.hpp"
#include "Velisand/Task.hpp"

/// Responses that flow, and requests with a client configuration.
namespace corvane::testkit {

namespace {

constexpr const char* service = "sweep";

struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct ServiceGet : DataGetRequestable<ServiceGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = service;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Set while there is memory, and taken back when there is again.
class Service {
 public:
  explicit Service(HTTPClientConfiguration configuration) {
    HTTPClientConfiguration::set(service, std::move(configuration));
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  ~Service() {
    const FailingAllocations::Exempt exempt;
    HTTPClientConfiguration::remove(service);
  }
};

void sendAndAwait(SweepRun& run, const ServiceGet& request) {
  run.attemptAndAwait([&] {
    request.send(run.queue(), [outcomes = run.outcomes()](const DataResponse& response) {
      const FailingAllocations::Exempt exempt;
      outcomes.add(response.result.error() != nullptr);
    });
  });
}

void streamToHandler(SweepRun& run) {
  const Feed feed{.url = run.url("/stream/3")};
  run.attemptAndAwait([&] {
    feed.stream(
        {.queue = run.queue()}, [](const Data&) {},
        [outcomes = run.outcomes()](const HTTPStreamResponse& response) {
          const FailingAllocations::Exempt exempt;
          outcomes.add(response.result.error() != nullptr);
        });
  });
}

velisand::Task<std::size_t> lengthOf(Feed feed) {
  auto stream = feed.stream();
  std::size_t bytes = 0;
  while (const auto piece = co_await stream.next()) bytes += piece->count();
  co_return bytes;
}

velisand::Task<std::size_t> eventsOf(URL url) {
  auto events = serverSentEvents(StreamGetRequest(std::move(url)));
  std::size_t count = 0;
  while (const auto event = co_await events.next()) count += event->data.size();
  co_return count;
}

template <class Begin>
void getTask(SweepRun& run, Begin begin) {
  run.attempt([&] {
    begin().get();
    run.outcomes().add();
  });
}

void streamAwaited(SweepRun& run) {
  const Feed feed{.url = run.url("/stream/3")};
  getTask(run, [&] { return lengthOf(feed); });
}

void serverSent(SweepRun& run) {
  const URL url = run.url("/events/3");
  getTask(run, [&] { return eventsOf(url); });
}

void intercepted(SweepRun& run) {
  HTTPClientConfiguration configuration;
  configuration.interceptors.push_back(HTTPInterceptor::changing(
      [](URLRequest& request) { request.allHTTPHeaderFields.set("X-Application", "a text that is too long"); }));
  const Service set(configuration);
  sendAndAwait(run, {.url = run.url("/users/7")});
}

/// The token is refreshed, and the request sent once more.
void refreshed(SweepRun& run) {
  HTTPClientConfiguration configuration;
  configuration.interceptors.push_back(std::make_shared<BearerAuthentication>(
      std::vector<URL>{run.url("/")},
      [](const std::optional<std::string>&) {
        const Future<std::string> token;
        token.markCompletion(std::string("a token that is too long for its place"));
        return token;
      },
      "the first token, which is refused"));
  const Service set(configuration);
  sendAndAwait(run, {.url = run.url("/status/401")});
}

void digest(SweepRun& run) {
  HTTPClientConfiguration configuration;
  configuration.interceptors.push_back(
      std::make_shared<DigestAuthentication>("ada", "secret", std::vector<URL>{run.url("/")}));
  const Service set(configuration);
  sendAndAwait(run, {.url = run.url("/status/401")});
}

/// The server takes whole URLs, as a proxy does.
void forwarded(SweepRun& run) {
  const URL server = run.url("/");
  HTTPClientConfiguration configuration;
  configuration.connections.proxy = {.kind = platform::ProxyKind::http,
                                     .host = *server.host(),
                                     .port = *server.port(),
                                     .user = "ada",
                                     .password = "secret",
                                     .authentication = platform::ProxyAuthentication::digest};
  const Service set(configuration);
  sendAndAwait(run, {.url = URL("http://service.test/users/7")});
}

/// The server makes no tunnels.
void tunnelRefused(SweepRun& run) {
  const URL server = run.url("/");
  HTTPClientConfiguration configuration;
  configuration.connections.proxy = {.kind = platform::ProxyKind::http, .host = *server.host(), .port = *server.port()};
  const Service set(configuration);
  sendAndAwait(run, {.url = URL("https://service.test/users/7")});
}

void limited(SweepRun& run) {
  HTTPClientConfiguration configuration;
  configuration.connections.maximumConnections = 1;
  configuration.connections.maximumRequestsPerSecondPerHost = 100'000;
  configuration.connections.maximumBytesPerSecond = 100'000'000;
  const Service set(configuration);
  sendAndAwait(run, {.url = run.url("/bytes/20000")});
}

/// From the cache the second time.
void cached(SweepRun& run) {
  const DataGetRequest request(run.url("/cache/1000"));
  request.send().get();
  getTask(run, [&] { return request.send(); });
}

/// Invalidates what is stored.
void invalidating(SweepRun& run) {
  const URL url = run.url("/cache/1000");
  DataGetRequest(url).send().get();
  const DataPostRequest request(url, Data("changed"));
  getTask(run, [&] { return request.send(); });
}

constexpr std::array scenes{
    SweepScene{"stream", streamToHandler},    SweepScene{"stream-awaited", streamAwaited},
    SweepScene{"events", serverSent},         SweepScene{"intercepted", intercepted},
    SweepScene{"refreshed-token", refreshed}, SweepScene{"digest", digest},
    SweepScene{"forwarded", forwarded},       SweepScene{"tunnel-refused", tunnelRefused},
    SweepScene{"limited", limited},           SweepScene{"cached", cached},
    SweepScene{"invalidating", invalidating},
};

}  // namespace

std::span<const SweepScene> sweepPolicyScenes() { return scenes; }

}  // namespace corvane::testkit
