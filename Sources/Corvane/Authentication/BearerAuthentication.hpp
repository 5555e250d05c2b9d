#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

namespace detail {
class CredentialScope;
class TokenStore;
}  // namespace detail

/// Bearer tokens (RFC 6750) that are refreshed when the server refuses them: an interceptor that sends a token with
/// every request to one of its origins.
///
///     Task<std::string> refresh(std::optional<std::string> refused) {
///       const RefreshToken request{.secret = stored()};
///       const auto response = co_await request.send();
///       co_return response.body.accessToken;
///     }
///     configuration.interceptors.push_back(
///         std::make_shared<BearerAuthentication>(std::vector<URL>{"https://api.example.com"}, refresh));
///
/// A response with the status 401 means that the token has expired. All requests that meet one, and those that begin
/// meanwhile, wait for one refresh; then each goes out again, once. Where the token was refreshed since the request
/// went out, it goes out again without another refresh. A 401 that follows a refresh is the response. A refresh that
/// fails is the error of all that waited for it; the next request that is refused begins another.
///
/// A request that is cancelled, or whose deadline passes, waits no longer, and leaves the others alone. When none waits
/// any more, the refresh is cancelled. A request whose body can be read once, and was, is not sent again: it gets the
/// 401.
///
/// Other origins never get the token, also where a redirect leads there; nor does a 401 from there cause a refresh. A
/// request that has an "Authorization" of its own, or a user in its URL, is left alone.
class CORVANE_API BearerAuthentication final : public HTTPInterceptor {
 public:
  /// Gets a new token in place of the one that was refused; absent where there is none yet. Never called for two
  /// refreshes that are wanted at a time. It runs on a serial queue of this object; a coroutine resumes there. The
  /// requests that it sends from that queue go out without a token and wait for none, so they may have the same
  /// `sessionConfigurationIdentifier`. A request that it sends from elsewhere, as the later attempts of one that
  /// retries, needs another identifier: it would wait for the refresh, and the refresh for it.
  using Refresh = platform::UniqueFunction<velisand::Future<std::string>(std::optional<std::string>)>;

  /// `token` is the first one; without it, the first request begins with a refresh. Of an origin, scheme, host and port
  /// count. Throws an `Error` ("NSOSStatusErrorDomain", -50) for a token that no header field can hold, and without an
  /// origin or with a URL that is none.
  BearerAuthentication(std::vector<platform::URL> origins, Refresh refresh, std::optional<std::string> token = {});
  ~BearerAuthentication() override;

  /// The token at this moment. Any thread.
  std::optional<std::string> token() const;
  /// Sets the token of further requests, after a login for example; absent: the next request begins with a refresh.
  /// Any thread. Throws as the constructor.
  void setToken(std::optional<std::string> token);

  velisand::Future<HTTPInterceptedResponse> intercept(platform::URLRequest request,
                                                      HTTPInterceptorChain chain) override;

 private:
  const std::unique_ptr<const detail::CredentialScope> scope_;
  const std::shared_ptr<detail::TokenStore> tokens_;
};

}  // namespace corvane
