#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

int main(int, char** argv) {
  HTTPClientConfiguration configuration;
  configuration.redirects.following = platform::RedirectFollowing::never;
  HTTPClientConfiguration::setDefault(configuration);

  const auto response = DataGetRequest(argv[1] + std::string("redirect/1")).send(wholeResponse).get();
  std::printf("%d to %s\n", response.status.statusCode().value_or(0),
              response.headers ? response.headers->value("Location").value_or("nowhere").c_str() : "nowhere");
}
