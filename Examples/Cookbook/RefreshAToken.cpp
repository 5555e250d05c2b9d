#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/MockNetwork.hpp>
#include <cstdio>

using namespace corvane;
using namespace corvane::testkit;

// Asks the service for a new token; here without one.
Task<std::string> refresh(std::optional<std::string> refused) {
  std::printf("in place of \"%s\"\n", refused.value_or("").c_str());
  co_return "new";
}

int main() {
  const std::vector<URL> origins{"https://api.example.com"};
  HTTPClientConfiguration api;
  api.interceptors.push_back(std::make_shared<BearerAuthentication>(origins, refresh, "old"));
  HTTPClientConfiguration::setDefault(api);

  MockNetwork server;  // which takes the new token alone
  server.onAll().respond([](const SentRequest& request) {
    return NetworkResponse(request.header("Authorization") == "Bearer new" ? 200 : 401).text("welcome");
  });
  std::printf("%s\n", DataGetRequest("https://api.example.com/me").send().get().body.text().c_str());
}
