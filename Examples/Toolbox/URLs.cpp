#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/URLComponents.hpp>
#include <cstdio>

using namespace corvane;
using platform::URLComponents, platform::URLQueryEncoding, platform::URLQueryItem;

void showParts(const URL& url) {
  const URLComponents parts = *URLComponents::make(url, true);
  std::printf("host %s, port %d, path %s\n", parts.percentEncodedHost->c_str(), *parts.port, parts.path().c_str());
  for (const URLQueryItem& item : parts.queryItems()) {
    std::printf("%s = %s\n", item.name.c_str(), item.value.value_or("").c_str());
  }
}

URL search(const URL& service, const std::string& words) {
  URLComponents parts = *URLComponents::make(service, true);
  parts.setPath("/straße/search");
  parts.setQueryItems({{"words", words}}, URLQueryEncoding::strict);
  return *parts.url();
}

int main() {
  showParts(URL("http://example.com:8080/a%20b?name=Ada&page=2"));
  std::printf("%s\n", search(URL("https://example.com"), "1 + 1").absoluteString().c_str());
}
