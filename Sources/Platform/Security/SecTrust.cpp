#include "Platform/Security/SecTrust.hpp"

#include <algorithm>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Security/Internal/ChainVerifier.hpp"

namespace platform {

struct SecTrust::State {
  detail::Mutex mutex;
  std::vector<SecCertificate> anchors CORVANE_GUARDED_BY(mutex);
  bool anchorsOnly CORVANE_GUARDED_BY(mutex) = false;
  std::optional<std::int64_t> verifyDate CORVANE_GUARDED_BY(mutex);
  SecTrustProblem problem CORVANE_GUARDED_BY(mutex) = SecTrustProblem::none;
  std::string problemDescription CORVANE_GUARDED_BY(mutex);
  std::vector<SecCertificate> verifiedChain CORVANE_GUARDED_BY(mutex);
};

SecTrust::SecTrust(std::vector<SecCertificate> chain, std::string host)
    : chain_(std::move(chain)), host_(std::move(host)), state_(std::make_unique<State>()) {}

SecTrust::~SecTrust() = default;

std::int32_t SecTrust::setAnchorCertificates(std::vector<SecCertificate> anchors) {
  const auto wasMovedFrom = [](const SecCertificate& anchor) { return !anchor.handle(); };
  if (std::any_of(anchors.begin(), anchors.end(), wasMovedFrom)) return OSStatus::param;
  const detail::MutexLock lock(state_->mutex);
  state_->anchors = std::move(anchors);
  state_->anchorsOnly = !state_->anchors.empty();
  return OSStatus::success;
}

std::int32_t SecTrust::setAnchorCertificatesOnly(bool only) {
  const detail::MutexLock lock(state_->mutex);
  state_->anchorsOnly = only;
  return OSStatus::success;
}

void SecTrust::setVerifyDate(std::optional<std::int64_t> secondsSince1970) {
  const detail::MutexLock lock(state_->mutex);
  state_->verifyDate = secondsSince1970;
}

SecTrustResult SecTrust::evaluate() {
  const detail::MutexLock lock(state_->mutex);
  detail::TrustVerdict verdict =
      detail::verifyChain({chain_, host_, state_->anchors, !state_->anchorsOnly, state_->verifyDate});
  state_->problem = verdict.problem;
  state_->problemDescription = std::move(verdict.description);
  state_->verifiedChain = std::move(verdict.verifiedChain);
  return verdict.result;
}

std::vector<SecCertificate> SecTrust::verifiedChain() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->verifiedChain;
}

SecTrustProblem SecTrust::problem() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->problem;
}

std::string SecTrust::problemDescription() const {
  const detail::MutexLock lock(state_->mutex);
  return state_->problemDescription;
}

}  // namespace platform
