#include "Platform/Loading/Internal/SessionCore.hpp"

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/Internal/ForkGuard.hpp"
#include "Platform/Loading/Internal/ConnectivityWait.hpp"
#include "Platform/Loading/Internal/PinCheck.hpp"
#include "Platform/Loading/Internal/TaskCore.hpp"
#include "Platform/Loading/Internal/TransportErrors.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/Loop/NetworkLoop.hpp"
#include "Platform/Security/Internal/HostMatching.hpp"

namespace platform::detail {

using networking::TrustQuery;

namespace {

Error trustError(const TrustQuery& query, std::int32_t code, const std::string& message) {
  const bool isIPv6 = query.host.find(':') != std::string::npos;
  const URL server("https://" + (isIPv6 ? "[" + query.host + "]" : query.host) + ":" + std::to_string(query.port) +
                   "/");
  return transportError(code, message, server, false);
}

/// The host name is verified whatever the delegate says.
std::optional<Error> hostMismatch(const TrustQuery& query) {
  if (!query.chain.empty() && certificateIsFor(query.host, query.chain.front())) return std::nullopt;
  return trustError(query, urlErrorCode(SecTrustProblem::hostMismatch),
                    "The server's certificate is not for the host \"" + query.host + "\".");
}

/// A server that is trusted must have a pinned key, whoever trusts it. A delegate that did not evaluate its trust has
/// verified no chain; then only the server's own certificate counts.
std::optional<Error> pinMismatch(const TrustQuery& query, const TLSConfiguration& tls, const SecTrust& trust) {
  if (tls.pins.empty()) return std::nullopt;
  std::vector<SecCertificate> chain = trust.verifiedChain();
  if (chain.empty() && !query.chain.empty()) chain.push_back(query.chain.front());
  const auto problem = pinProblem(tls.pins, query.host, chain);
  if (!problem) return std::nullopt;
  return trustError(query, URLErrorCode::serverCertificateUntrusted, *problem);
}

/// The anchors of the system and of the session, and the host name decide. Where the delegate's own evaluation with
/// more anchors got further than an unknown root, its finding says more about what is wrong.
std::optional<Error> defaultHandling(const TrustQuery& query, const TLSConfiguration& tls,
                                     const std::shared_ptr<SecTrust>& delegates) {
  SecTrust trust(query.chain, query.host);
  static_cast<void>(trust.setAnchorCertificates(tls.anchors));
  static_cast<void>(trust.setAnchorCertificatesOnly(tls.trustsOnlyAnchors));
  if (trust.evaluate() == SecTrustResult::unspecified) return pinMismatch(query, tls, trust);
  const bool takesDelegates =
      trust.problem() == SecTrustProblem::unknownRoot && delegates && delegates->problem() != SecTrustProblem::none;
  const SecTrust& telling = takesDelegates ? *delegates : trust;
  return trustError(query, urlErrorCode(telling.problem()), telling.problemDescription());
}

}  // namespace

SessionCore::SessionCore(URLSessionConfiguration configuration, std::shared_ptr<URLSessionDelegate> delegate,
                         DispatchQueue delegateQueue)
    : loop_(networking::NetworkLoop::shared().loop()),
      configuration_(std::move(configuration)),
      delegateQueue_(std::move(delegateQueue)),
      delegate_(std::move(delegate)) {}

SessionCore::~SessionCore() {
  // A forked child, at whose exit an object of static duration may end, has no loop.
  if (ForkGuard::isForkedChild()) static_cast<void>(loader_.release());
  // Connections may only be closed by the loop's owner.
  if (!loader_) return;
  requiringMemory("the connections of a session cannot be closed",
                  [this] { loop_.post([loader = std::move(loader_)]() mutable { loader.reset(); }); });
}

std::optional<std::string> SessionCore::description() const {
  const std::lock_guard lock(mutex_);
  return description_;
}

void SessionCore::setDescription(std::optional<std::string> description) {
  const std::lock_guard lock(mutex_);
  description_ = std::move(description);
}

std::shared_ptr<URLSessionDelegate> SessionCore::delegate() const {
  const std::lock_guard lock(mutex_);
  return delegate_;
}

bool SessionCore::isInvalidated() const {
  const std::lock_guard lock(mutex_);
  return isInvalidated_;
}

void SessionCore::invalidate(bool cancelTasks) {
  {
    const std::lock_guard lock(mutex_);
    isInvalidated_ = true;
  }
  requiringMemory("a session cannot be closed", [&] {
    // The session itself must live to be named to its delegate.
    loop_.post([self = shared_from_this(), session = session_.lock(), cancelTasks] {
      self->isClosing_ = true;
      if (self->loader_) self->loader_->dropCache();
      if (cancelTasks) self->cancelTasks();
      self->closeWhenDone();
    });
  });
}

void SessionCore::cancelTasks() {
  const std::vector<std::shared_ptr<TaskCore>> running = tasks_;
  for (const auto& task : running) task->cancelNow();
}

HTTPLoader& SessionCore::loader() {
  if (!loader_) {
    // The loader never outlives this object while loads run, since their tasks hold it.
    loader_ = std::make_unique<HTTPLoader>(
        loop_, configuration_, [this](const std::shared_ptr<const TrustQuery>& query) { challenge(query); });
  }
  return *loader_;
}

void SessionCore::begin(const std::shared_ptr<TaskCore>& task) {
  if (task->place != TaskCore::npos) return;
  tasks_.push_back(task);
  task->place = tasks_.size() - 1;
}

void SessionCore::end(const std::shared_ptr<TaskCore>& task) {
  const std::size_t place = std::exchange(task->place, TaskCore::npos);
  if (place == TaskCore::npos) return;
  if (place + 1 != tasks_.size()) {
    tasks_[place] = std::move(tasks_.back());
    tasks_[place]->place = place;
  }
  tasks_.pop_back();
  closeWhenDone();
}

void SessionCore::closeWhenDone() {
  if (!isClosing_ || isClosed_ || !tasks_.empty()) return;
  isClosed_ = true;
  // Posted, since the loader may be in the middle of ending the last exchange.
  requiringMemory("a session cannot be closed", [this] {
    loop_.post([self = shared_from_this(), session = session_.lock()] { self->close(session); });
  });
}

void SessionCore::close(const std::shared_ptr<URLSession>& session) {
  loader_.reset();
  loop_.deliver(delegateQueue_, [self = shared_from_this(), session] {
    std::shared_ptr<URLSessionDelegate> delegate;
    {
      const std::lock_guard lock(self->mutex_);
      delegate = std::exchange(self->delegate_, nullptr);
    }
    if (delegate && session) delegate->didBecomeInvalid(session, std::nullopt);
  });
}

void SessionCore::awaitConnectivity(const std::shared_ptr<TaskCore>& task) {
  ConnectivityWait::shared(loop_).add(task);
}

void SessionCore::challenge(const std::shared_ptr<const TrustQuery>& query) {
  auto self = shared_from_this();
  auto session = session_.lock();
  auto asked = delegate();
  using JudgeByDefault = std::function<void(std::shared_ptr<SecTrust>)>;
  const JudgeByDefault judgeByDefault = [self, query](std::shared_ptr<SecTrust> delegates) {
    DispatchQueue::global().async([self, query, delegates] {
      self->conclude(query, defaultHandling(*query, self->configuration_.tls, delegates));
    });
  };
  if (!session || !asked) {
    judgeByDefault(nullptr);
    return;
  }
  loop_.deliver(delegateQueue_, [self, session, asked, query, judgeByDefault] {
    auto trust = std::make_shared<SecTrust>(query->chain, query->host);
    URLAuthenticationChallenge challenge;
    challenge.protectionSpace = {.host = query->host,
                                 .port = query->port,
                                 .protocol = "https",
                                 .authenticationMethod = "NSURLAuthenticationMethodServerTrust",
                                 .serverTrust = trust};
    // Given away with the first decision: a delegate that keeps its completion keeps no session by it.
    struct Pending {
      std::atomic<bool> isDecided = false;
      std::shared_ptr<SessionCore> session;
      std::shared_ptr<const TrustQuery> query;
      JudgeByDefault judgeByDefault;
    };
    auto pending = std::make_shared<Pending>();
    pending->session = self;
    pending->query = query;
    pending->judgeByDefault = judgeByDefault;
    asked->didReceiveChallenge(
        session, challenge,
        [pending, trust](AuthChallengeDisposition disposition, std::optional<URLCredential> credential) {
          if (pending->isDecided.exchange(true)) return;
          const auto core = std::exchange(pending->session, nullptr);
          const auto judged = std::exchange(pending->query, nullptr);
          const auto byDefault = std::exchange(pending->judgeByDefault, nullptr);
          switch (disposition) {
            case AuthChallengeDisposition::useCredential:
              if (!credential || !credential->trust) break;
              if (auto mismatch = hostMismatch(*judged)) {
                core->conclude(judged, std::move(mismatch));
              } else {
                core->conclude(judged, pinMismatch(*judged, core->configuration_.tls, *credential->trust));
              }
              return;
            case AuthChallengeDisposition::cancelAuthenticationChallenge:
              core->conclude(judged, trustError(*judged, URLErrorCode::userCancelledAuthentication,
                                                "the application refused the server"));
              return;
            case AuthChallengeDisposition::rejectProtectionSpace:
              core->conclude(judged, trustError(*judged, URLErrorCode::serverCertificateUntrusted,
                                                "the application does not trust the server"));
              return;
            case AuthChallengeDisposition::performDefaultHandling:
              break;
          }
          byDefault(trust);
        });
  });
}

void SessionCore::conclude(const std::shared_ptr<const TrustQuery>& query, std::optional<Error> rejection) {
  loop_.post([self = shared_from_this(), query, rejection = std::move(rejection)]() mutable {
    if (self->loader_) self->loader_->decide(query, rejection);
  });
}

}  // namespace platform::detail
