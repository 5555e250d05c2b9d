// Responses that are kept in memory: a service with its own cache, and requests with their own policy.
//
//   example_Caching [URL]

#include <Corvane/Corvane.hpp>
#include <Corvane/Insight/HTTPMetrics.hpp>
#include <cstdio>

using namespace corvane;

void configureShop() {
  HTTPClientConfiguration shop;
  shop.cache.capacityBytes = 16 << 20;
  shop.cache.servesStaleWhileRevalidating = true;
  shop.cache.servesStaleOnError = true;
  HTTPClientConfiguration::set("shop", shop);
}

void configurePayments() {
  HTTPClientConfiguration payments;
  payments.cache = CacheConfiguration::off();
  HTTPClientConfiguration::set("payments", payments);
}

struct GetArticles : DataGetRequestable<GetArticles> {
  URL url;
  URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::useProtocolCachePolicy;
  std::optional<std::string> sessionConfigurationIdentifier = "shop";
  HTTPHeaders sharedHeaders() const { return {}; }
};

void show(const GetArticles& request) {
  const auto response = request.send().get();
  const bool isStored = response.metrics->transactions.back().isFromCache;
  std::printf("%zu bytes, %s\n", response.body.count(), isStored ? "stored" : "sent by the server");
}

int main(int argc, char** argv) {
  configureShop();
  configurePayments();
  GetArticles request{.url = URL(argc > 1 ? argv[1] : "http://127.0.0.1:8080/")};
  try {
    show(request);
    show(request);
    request.cachePolicy = URLRequestCachePolicy::reloadIgnoringLocalCacheData;
    show(request);
  } catch (const Error& error) {
    std::fprintf(stderr, "%s\n", error.message().c_str());
    return 1;
  }
  return 0;
}
