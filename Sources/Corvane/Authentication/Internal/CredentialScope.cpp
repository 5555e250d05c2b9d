#include "Corvane/Authentication/Internal/CredentialScope.hpp"

#include <algorithm>
#include <string>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/Internal/RedirectPolicy.hpp"
#include "Platform/Loading/URLBodyStream.hpp"
#include "Platform/Networking/HTTPText.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace corvane::detail {

using platform::URL;
using platform::URLRequest;

namespace {

[[noreturn]] void refuse(std::string message) {
  throw platform::Error("NSOSStatusErrorDomain", platform::OSStatus::param, std::move(message));
}

bool isOrigin(const URL& url) {
  const std::string scheme = platform::detail::lowercased(url.scheme().value_or(""));
  return (scheme == "http" || scheme == "https") && url.host();
}

std::string withoutFragment(const URL& url) {
  const std::string& text = url.absoluteString();
  return text.substr(0, text.find('#'));
}

}  // namespace

CredentialScope::CredentialScope(std::vector<URL> origins) : origins_(std::move(origins)) {
  if (origins_.empty()) refuse("Credentials need an origin that they are for.");
  for (const URL& origin : origins_) {
    if (!isOrigin(origin)) refuse("\"" + origin.absoluteString() + "\" is no origin of http or https.");
  }
}

std::optional<std::size_t> CredentialScope::placeOf(const URL& url) const {
  const auto found = std::find_if(origins_.begin(), origins_.end(),
                                  [&](const URL& origin) { return platform::detail::haveSameOrigin(origin, url); });
  return found == origins_.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - origins_.begin()));
}

bool CredentialScope::covers(const URLRequest& request) const {
  const bool hasOwn = request.allHTTPHeaderFields.contains("Authorization") || request.url.user();
  return !hasOwn && placeOf(request.url);
}

void requireNoControls(std::string_view text, std::string_view name) {
  const bool hasControl =
      std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  if (hasControl) refuse("The " + std::string(name) + " has a control character.");
}

bool isRefusal(const HTTPInterceptedResponse& response, const URLRequest& request) {
  if (response.error || response.statusCode() != 401 || !response.url()) return false;
  // Where a redirect led on, the request itself was taken, and would act twice.
  const bool isSafe = request.httpMethod == "GET" || request.httpMethod == "HEAD";
  return isSafe ? platform::detail::haveSameOrigin(*response.url(), request.url)
                : withoutFragment(*response.url()) == withoutFragment(request.url);
}

bool canBeSentAgain(const URLRequest& request) {
  return !request.httpBodyStream || !request.httpBodyStream->isExhausted();
}

}  // namespace corvane::detail
