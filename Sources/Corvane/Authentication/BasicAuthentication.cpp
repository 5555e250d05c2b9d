#include "Corvane/Authentication/BasicAuthentication.hpp"

#include <utility>

#include "Corvane/Authentication/Internal/CredentialScope.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace corvane {

using platform::Data;
using platform::URL;
using platform::URLRequest;

namespace {

std::string basicCredentials(std::string_view user, std::string_view password) {
  if (user.find(':') != user.npos)
    throw platform::Error("NSOSStatusErrorDomain", platform::OSStatus::param, "The user name has a colon.");
  detail::requireNoControls(user, "user name");
  detail::requireNoControls(password, "password");
  return "Basic " + platform::detail::toBase64(Data(std::string(user) + ":" + std::string(password)));
}

}  // namespace

BasicAuthentication::BasicAuthentication(std::string_view user, std::string_view password, std::vector<URL> origins)
    : scope_(std::make_unique<const detail::CredentialScope>(std::move(origins))),
      authorization_(basicCredentials(user, password)) {}

BasicAuthentication::~BasicAuthentication() = default;

velisand::Future<HTTPInterceptedResponse> BasicAuthentication::intercept(URLRequest request,
                                                                         HTTPInterceptorChain chain) {
  if (scope_->covers(request)) request.allHTTPHeaderFields.set("Authorization", authorization_);
  return chain.send(std::move(request));
}

}  // namespace corvane
