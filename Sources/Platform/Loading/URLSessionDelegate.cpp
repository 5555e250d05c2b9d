#include "Platform/Loading/URLSessionDelegate.hpp"

namespace platform {

URLSessionDelegate::~URLSessionDelegate() = default;

void URLSessionDelegate::didBecomeInvalid(const std::shared_ptr<URLSession>&, const std::optional<Error>&) {}

void URLSessionDelegate::didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge&,
                                             ChallengeCompletion completion) {
  completion(AuthChallengeDisposition::performDefaultHandling, std::nullopt);
}

}  // namespace platform
