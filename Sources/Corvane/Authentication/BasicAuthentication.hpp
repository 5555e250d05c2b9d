#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

namespace detail {
class CredentialScope;
}

/// Basic authentication (RFC 7617): an interceptor that sends a user name and a password with every request to one of
/// its origins, without being asked. They are readable by whoever can read the request: use it with https.
///
///     configuration.interceptors.push_back(
///         std::make_shared<BasicAuthentication>("ada", "secret", std::vector<URL>{"https://example.com"}));
///
/// Other origins get nothing, also where a redirect leads there. A request that has an "Authorization" of its own, or a
/// user in its URL, is left alone.
class CORVANE_API BasicAuthentication final : public HTTPInterceptor {
 public:
  /// Name and password are in UTF-8, and sent as they are given. Of an origin, scheme, host and port count. Throws an
  /// `Error` ("NSOSStatusErrorDomain", -50) for a user name with a colon (RFC 7617, 2), for control characters, and
  /// without an origin or with a URL that is none.
  BasicAuthentication(std::string_view user, std::string_view password, std::vector<platform::URL> origins);
  ~BasicAuthentication() override;

  velisand::Future<HTTPInterceptedResponse> intercept(platform::URLRequest request,
                                                      HTTPInterceptorChain chain) override;

 private:
  const std::unique_ptr<const detail::CredentialScope> scope_;
  const std::string authorization_;
};

}  // namespace corvane
