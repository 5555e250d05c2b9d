#include "Corvane/Authentication/BearerAuthentication.hpp"

#include <utility>

#include "Corvane/Authentication/Internal/CredentialScope.hpp"
#include "Corvane/Authentication/Internal/TokenStore.hpp"

namespace corvane {

using platform::URL;
using platform::URLRequest;
using velisand::Future;

namespace {

/// With an old token, with one that others refreshed since, and with a fresh one.
constexpr int mostSendsWithTokens = 3;

}  // namespace

BearerAuthentication::BearerAuthentication(std::vector<URL> origins, Refresh refresh, std::optional<std::string> token)
    : scope_(std::make_unique<const detail::CredentialScope>(std::move(origins))),
      tokens_(std::make_shared<detail::TokenStore>(std::move(refresh))) {
  tokens_->set(std::move(token));
}

BearerAuthentication::~BearerAuthentication() = default;

std::optional<std::string> BearerAuthentication::token() const { return tokens_->current(); }

void BearerAuthentication::setToken(std::optional<std::string> token) { tokens_->set(std::move(token)); }

Future<HTTPInterceptedResponse> BearerAuthentication::intercept(URLRequest request, HTTPInterceptorChain chain) {
  const auto tokens = tokens_;
  if (!scope_->covers(request) || tokens->isRefreshedFrom(chain.sender()))
    co_return co_await chain.send(std::move(request));
  std::uint64_t refused = 0;
  for (int sends = 1;; ++sends) {
    const auto granting = tokens->newerThan(refused);
    const auto token = co_await granting;
    request.allHTTPHeaderFields.set("Authorization", "Bearer " + token.text);
    auto response = co_await chain.send(request);
    const bool isLast = token.isFresh || sends == mostSendsWithTokens;
    if (isLast || !detail::isRefusal(response, request) || !detail::canBeSentAgain(request)) co_return response;
    refused = token.generation;
  }
}

}  // namespace corvane
