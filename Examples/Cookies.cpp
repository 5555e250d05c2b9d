// Cookies that are kept between two runs of a program.
//
//   example_Cookies https://example.com/ cookies.json

#include <Corvane/Corvane.hpp>
#include <Corvane/Transport/HTTPCookies.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

using namespace corvane;

struct GetPage : DataGetRequestable<GetPage> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "shop";
  HTTPHeaders sharedHeaders() const { return {}; }
};

const std::shared_ptr<HTTPCookieStorage> cookies = std::make_shared<HTTPCookieStorage>();

void configure() {
  HTTPClientConfiguration shop;
  shop.cookies = cookies;
  HTTPClientConfiguration::set("shop", shop);
}

const JSONStrategies strategies{.dates = JSONDateStrategy::secondsSince1970};

/// A program that can read the file can act as the user.
void save(const char* path) {
  const Data text = JSONEncoder(strategies).encode(cookies->cookies());
  std::ofstream file(path, std::ios::binary);
  std::filesystem::permissions(path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  file << text.text();
}

void restore(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return;
  const std::string text(std::istreambuf_iterator<char>(file), {});
  for (const HTTPCookie& cookie : JSONDecoder(strategies).decode<std::vector<HTTPCookie>>(Data(text))) {
    cookies->set(cookie);
  }
}

/// The theme is the application's choice, no server's.
void choose(const URL& page) {
  HTTPCookie theme;
  theme.name = "theme";
  theme.value = "dark";
  theme.domain = page.host().value_or("");
  cookies->set(theme);
}

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
    return 2;
  }
  const URL page(argv[1]);
  configure();
  restore(argv[2]);
  choose(page);
  std::printf("%s\n", GetPage{.url = page}.send().get().body.text().c_str());
  for (const HTTPCookie& cookie : cookies->cookies(page)) std::printf("%s\n", cookie.name.c_str());
  save(argv[2]);
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
