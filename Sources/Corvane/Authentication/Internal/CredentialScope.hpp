#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "Corvane/Transport/HTTPInterceptedResponse.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane::detail {

/// The origins (scheme, host and port; RFC 9110, 4.3.1) that credentials are for.
class CredentialScope {
 public:
  /// Throws an `Error` ("NSOSStatusErrorDomain", -50) without an origin, and for a URL that is not http or https, or
  /// has no host.
  explicit CredentialScope(std::vector<platform::URL> origins);

  /// The place of its origin in the list; absent for another origin.
  std::optional<std::size_t> placeOf(const platform::URL& url) const;
  std::size_t count() const { return origins_.size(); }
  /// Whether the request is to get credentials: it is for one of the origins, and has none of its own.
  bool covers(const platform::URLRequest& request) const;

 private:
  std::vector<platform::URL> origins_;
};

/// Throws an `Error` ("NSOSStatusErrorDomain", -50) for text with control characters, which no field can hold.
void requireNoControls(std::string_view text, std::string_view name);

/// Whether the response refuses the request for want of credentials, and is from the origin that it was sent to: after
/// a redirect to another origin it is not.
bool isRefusal(const HTTPInterceptedResponse& response, const platform::URLRequest& request);
/// Whether the body of the request, if any, can be sent once more.
bool canBeSentAgain(const platform::URLRequest& request);

}  // namespace corvane::detail
