// Authentication: a bearer token that is refreshed, a user with Basic, a user with Digest.
//
//   example_Authentication ORIGIN TOKEN-URL

#include <Corvane/Corvane.hpp>
#include <cstdio>
#include <vector>

using namespace corvane;

struct Token {
  std::string accessToken;
};

struct RefreshToken : JSONGetRequestable<RefreshToken, Token> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};

Task<std::string> refreshed(URL tokenURL) {
  const RefreshToken request{.url = tokenURL};
  const auto response = co_await request.send();
  co_return response.body.accessToken;
}

void useBearer(const URL& origin, const URL& tokenURL) {
  HTTPClientConfiguration service;
  service.interceptors.push_back(std::make_shared<BearerAuthentication>(
      std::vector<URL>{origin}, [tokenURL](std::optional<std::string>) { return refreshed(tokenURL); }));
  HTTPClientConfiguration::set("service", service);
}

void useBasic(const URL& origin) {
  HTTPClientConfiguration files;
  files.interceptors.push_back(std::make_shared<BasicAuthentication>("ada", "secret", std::vector<URL>{origin}));
  HTTPClientConfiguration::set("files", files);
}

void useDigest(const URL& origin) {
  HTTPClientConfiguration printers;
  printers.interceptors.push_back(std::make_shared<DigestAuthentication>("ada", "secret", std::vector<URL>{origin}));
  HTTPClientConfiguration::set("printers", printers);
}

struct GetPage : DataGetRequestable<GetPage> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s ORIGIN TOKEN-URL\n", argv[0]);
    return 2;
  }
  const URL origin = argv[1];
  useBearer(origin, argv[2]);
  useBasic(origin);
  useDigest(origin);
  for (const char* const service : {"service", "files", "printers"}) {
    const GetPage request{.url = origin, .sessionConfigurationIdentifier = service};
    std::printf("%s: %zu bytes\n", service, request.send().get().body.count());
  }
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
