#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Velisand/Future.hpp"

namespace corvane {

/// Digest authentication (RFC 7616): an interceptor that proves to its origins, when they ask, that it knows a
/// password, without sending it.
///
///     configuration.interceptors.push_back(
///         std::make_shared<DigestAuthentication>("ada", "secret", std::vector<URL>{"https://example.com"}));
///
/// The first request to an origin goes out twice: the server refuses it with a challenge. Further requests respond to
/// that challenge beforehand, and go out once, until the server has had enough of its nonce (`stale`, or another nonce
/// in "Authentication-Info"). A 401 after a fresh challenge means that the password is wrong, and is the response.
///
/// Of several challenges the strongest is used: SHA-512-256, then SHA-256, then MD5, each also with "-sess"; the user
/// name is hashed where the server wants that. "auth" is used where it is offered. For "auth-int" alone the body is
/// read and hashed before it is sent: bytes, a file, or a stream that can be read again. With a stream that can be read
/// once, a request goes out with "Expect: 100-continue" the first time, so that the challenge may come before the body;
/// where the body was taken all the same, or would have to be hashed, the 401 is the response. So it always is over
/// HTTP/2, where a body does not wait. "rspauth", the server's own proof, is not checked.
///
/// A digest is for one target: a redirect within the origin drops it, and the challenge of the new target gets a
/// response of its own. What was redirected is not sent again. Other origins get nothing, also where a redirect leads
/// there. A request that has an "Authorization" of its own, or a user in its URL, is left alone.
class CORVANE_API DigestAuthentication final : public HTTPInterceptor {
 public:
  /// Name and password are in UTF-8. Of an origin, scheme, host and port count. Throws an `Error`
  /// ("NSOSStatusErrorDomain", -50) for control characters, and without an origin or with a URL that is none.
  DigestAuthentication(std::string_view user, std::string_view password, std::vector<platform::URL> origins);
  ~DigestAuthentication() override;

  velisand::Future<HTTPInterceptedResponse> intercept(platform::URLRequest request,
                                                      HTTPInterceptorChain chain) override;

 private:
  class Sessions;
  const std::shared_ptr<Sessions> sessions_;
};

}  // namespace corvane
