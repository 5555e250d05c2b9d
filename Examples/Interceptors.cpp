// Interceptors: functions and classes that take part in every exchange of a service.
//
//   example_Interceptors URL

#include <Corvane/Corvane.hpp>
#include <atomic>
#include <cstdio>

using namespace corvane;

struct GetStatus : DataGetRequestable<GetStatus> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "service";
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Sends once more what the server was too busy for, and counts.
class Patience final : public HTTPInterceptor {
 public:
  Future<HTTPInterceptedResponse> intercept(URLRequest request, HTTPInterceptorChain chain) override {
    auto response = co_await chain.send(request);
    if (response.statusCode() != 503) co_return response;
    ++busy_;
    co_await sleepFor(0.1);
    co_return co_await chain.send(request);
  }
  int busy() const { return busy_; }

 private:
  std::atomic<int> busy_ = 0;
};

std::shared_ptr<Patience> configure() {
  const auto patience = std::make_shared<Patience>();
  HTTPClientConfiguration service;
  service.interceptors.push_back(HTTPInterceptor::changing(
      [](URLRequest& request) { request.allHTTPHeaderFields.set("X-Application", "example"); }));
  service.interceptors.push_back(patience);
  HTTPClientConfiguration::set("service", service);
  return patience;
}

/// Responds without the network.
void respondFromMemory() {
  HTTPClientConfiguration service;
  service.interceptors.push_back(
      HTTPInterceptor::calling([](URLRequest request, HTTPInterceptorChain) -> Task<HTTPInterceptedResponse> {
        co_return HTTPInterceptedResponse(request.url, 200, {{"Content-Type", "text/plain"}}, Data("from memory"));
      }));
  HTTPClientConfiguration::set("service", service);
}

int main(int argc, char** argv) try {
  const GetStatus request{.url = argc > 1 ? argv[1] : "http://127.0.0.1:8080/flaky/1"};

  const auto patience = configure();
  const auto response = request.send().get();
  std::printf("status %d, busy %d time(s)\n", *response.statusCode(), patience->busy());

  respondFromMemory();
  std::printf("%s\n", request.send().get().body.text().c_str());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
