#include "Corvane/Transport/HTTPService.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "Corvane/Settings.hpp"
#include "Corvane/Transport/Detail/ServerTrust.hpp"
#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::DispatchMemoryPressureSource;
using platform::DispatchQueue;
using platform::MemoryPressure;
using platform::URLSession;
using platform::URLSessionConfiguration;

/// The cache of sessions and the delegate of each. All of it runs on `isolationQueue_`.
class HTTPService::Sessions final : public platform::URLSessionDelegate, public std::enable_shared_from_this<Sessions> {
 public:
  // Its blocks wait for nothing, so a thread that blocks on a result may run them itself.
  Sessions() { platform::InlineDrain::allow(isolationQueue_); }

  void watchMemory() {
    memoryPressureSource_.setEventHandler([service = weak_from_this()](MemoryPressure) {
      if (const auto sessions = service.lock()) sessions->didRecieveMemoryWarning();
    });
    memoryPressureSource_.activate();
  }

  // Code that runs on the queue already, such as a request's `validate(response)`, may send a request.
  template <class Work>
  auto onIsolationQueue(Work work) {
    return isolationQueue_.isCurrent() ? work() : isolationQueue_.sync(work);
  }

  std::shared_ptr<URLSession> sessionFor(const SessionKey& key) {
    const auto found =
        std::find_if(cache_.begin(), cache_.end(), [&](const Entry& entry) { return entry.first == key; });
    if (found != cache_.end()) return found->second;
    return cache_.emplace_back(key, makeSession(key)).second;
  }

  void invalidateAndCancel() {
    // Forgotten first, so that none is used that is closed.
    for (const auto& [key, session] : std::exchange(cache_, {})) session->invalidateAndCancel();
  }

  void didBecomeInvalid(const std::shared_ptr<URLSession>& session, const std::optional<platform::Error>&) override {
    const SessionKey key{session->sessionDescription(), session->configuration().waitsForConnectivity};
    std::erase_if(cache_, [&](const Entry& entry) { return entry.first == key && entry.second == session; });
  }

  void didReceiveChallenge(const std::shared_ptr<URLSession>&, const platform::URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    auto [disposition, credential] = detail::respondToChallenge(challenge, Corvane::trustedCertificates());
    completion(disposition, std::move(credential));
  }

 private:
  using Entry = std::pair<SessionKey, std::shared_ptr<URLSession>>;

  std::shared_ptr<URLSession> makeSession(const SessionKey& key) {
    auto configuration = URLSessionConfiguration::ephemeral();
    configuration.waitsForConnectivity = key.waitsForConnectivity;
    auto session = URLSession::make(configuration, shared_from_this(), isolationQueue_);
    session->setSessionDescription(key.sessionConfigurationIdentifier);
    return session;
  }

  void didRecieveMemoryWarning() {
    for (const auto& [key, session] : std::exchange(cache_, {})) session->finishTasksAndInvalidate();
  }

  const DispatchQueue isolationQueue_{"org.corvane.Corvane.HTTPService.isolationQueue"};
  const DispatchMemoryPressureSource memoryPressureSource_{isolationQueue_, {MemoryPressure::warning}};
  // Few: an application asks for a handful of kinds.
  std::vector<Entry> cache_;
};

HTTPService::HTTPService() : sessions_(std::make_shared<Sessions>()) { sessions_->watchMemory(); }
HTTPService::~HTTPService() = default;

HTTPService& HTTPService::shared() {
  static HTTPService& service = *new HTTPService;
  return service;
}

std::shared_ptr<URLSession> HTTPService::urlSession(const SessionKey& key) {
  return sessions_->onIsolationQueue([&] { return sessions_->sessionFor(key); });
}

void HTTPService::invalidateAndCancel() {
  sessions_->onIsolationQueue([&] { sessions_->invalidateAndCancel(); });
}

void Corvane::resetSessions() { HTTPService::shared().invalidateAndCancel(); }

}  // namespace corvane
