#include <algorithm>
#include <boost/url.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "FuzzInput.hpp"
#include "Platform/Foundation/URLComponents.hpp"
#include "Platform/Loading/Internal/RedirectLocation.hpp"
#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::fuzz {

namespace {

constexpr int statuses[] = {301, 302, 303, 307, 308, 200, 300, 304};
constexpr std::string_view methods[] = {"GET", "POST", "HEAD", "PUT"};

std::optional<std::string> hostInBoost(const std::string& text) {
  const auto parsed = boost::urls::parse_uri_reference(text);
  if (!parsed || !parsed->has_authority()) return std::nullopt;
  return std::string(parsed->encoded_host().data(), parsed->encoded_host().size());
}

void checkReference(std::string_view location) {
  const std::string reference = detail::locationAsReference(location);
  require(detail::locationAsReference(reference) == reference, "making a reference of a reference changes it");
  require(reference.size() <= 3 * location.size(), "a reference is too long");
  // What is outside of ASCII stays in a host, and there only.
  const std::string_view text = reference;
  const std::size_t host = text.substr(0, text.find_first_of("?#")).find("//");
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    require(c > 0x20 && c != 0x7F, "a reference holds a character that it may not");
    require(c < 0x80 || (host != text.npos && i < std::min(text.find('/', host + 2), text.size())),
            "a reference holds a character outside of ASCII that is not the host's");
  }
}

URLRequest requestTo(const URL& url, std::uint8_t choice) {
  URLRequest request(url);
  request.httpMethod = methods[choice / std::size(statuses) % std::size(methods)];
  request.allHTTPHeaderFields = {
      {"Authorization", "Basic YTpi"}, {"Cookie", "a=b"}, {"Content-Type", "text/plain"}, {"X-Kept", "yes"}};
  if (request.httpMethod == "POST" || request.httpMethod == "PUT") request.httpBody = Data("body");
  return request;
}

void checkNext(const URLRequest& sent, const URLRequest& next, int status) {
  const auto parts = URLComponents::make(next.url, true);
  const std::string scheme = next.url.scheme().value_or("");
  require(parts && next.url.host(), "a redirect leads to no host");
  require(scheme.size() == 4 || scheme.size() == 5, "a redirect leads to another scheme");
  require(sent.url.scheme() != "https" || scheme.size() == 5, "a redirect leaves https");
  // Boost.URL has no zones (RFC 6874).
  const bool hasZone = parts->percentEncodedHost && parts->percentEncodedHost->find("%25") != std::string::npos;
  require(hasZone || hostInBoost(next.url.absoluteString()) == parts->percentEncodedHost, "two readers see two hosts");

  const bool isSameOrigin = detail::haveSameOrigin(sent.url, next.url);
  const auto own = URLComponents::make(sent.url, true);
  require(next.allHTTPHeaderFields.contains("Authorization") == isSameOrigin &&
              next.allHTTPHeaderFields.contains("Cookie") == isSameOrigin,
          "credentials go to another origin, or get lost on the way to their own");
  require(parts->percentEncodedUser == (isSameOrigin ? own->percentEncodedUser : std::nullopt) &&
              parts->percentEncodedPassword == (isSameOrigin ? own->percentEncodedPassword : std::nullopt),
          "a redirect brings credentials");

  const bool becomesGet = detail::becomesGet(status, sent.httpMethod);
  require(next.httpMethod == (becomesGet ? "GET" : sent.httpMethod), "a redirect changes the method");
  require(next.httpBody.has_value() == (sent.httpBody.has_value() && !becomesGet), "a redirect changes the body");
  require(next.allHTTPHeaderFields.contains("Content-Type") != becomesGet, "fields of the body do not go with it");
  require(next.allHTTPHeaderFields.contains("X-Kept"), "a redirect loses a field");
}

void checkFailure(const detail::LoadFailure& failure, int hops) {
  require(!failure.message.empty(), "a failure has no message");
  if (hops >= detail::maximumRedirects) {
    require(failure.code == URLErrorCode::httpTooManyRedirects, "too many redirects fail with another error");
  } else {
    require(failure.code == URLErrorCode::redirectToNonExistentLocation || failure.code == URLErrorCode::unsupportedURL,
            "a redirect fails with an undocumented error");
  }
}

/// The first byte chooses status and method, the first line the URL that was sent; the rest is the Location.
void check(std::string_view input) {
  const std::uint8_t choice = takeByte(input);
  const auto base = URL::parse(takeLine(input));
  checkReference(input);
  const std::string scheme = base ? base->scheme().value_or("") : "";
  if ((scheme != "http" && scheme != "https") || !base->host()) return;

  const URLRequest sent = requestTo(*base, choice);
  const int status = statuses[choice % std::size(statuses)];
  for (const int hops : {0, detail::maximumRedirects}) {
    const auto decision = detail::decideRedirect(sent, status, input, hops);
    if (const auto* next = std::get_if<URLRequest>(&decision)) {
      require(hops == 0 && status > 300 && status != 304, "a redirect is followed that should not be");
      checkNext(sent, *next, status);
    } else if (const auto* failure = std::get_if<detail::LoadFailure>(&decision)) {
      checkFailure(*failure, hops);
    }
  }
}

}  // namespace

}  // namespace platform::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  platform::fuzz::check({reinterpret_cast<const char*>(bytes), count});
  return 0;
}
