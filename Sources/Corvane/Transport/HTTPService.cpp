#include "Corvane/Transport/HTTPService.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "Corvane/DebugOutput/Detail/Redactions.hpp"
#include "Corvane/Settings.hpp"
#include "Corvane/Transport/Detail/ServerTrust.hpp"
#include "Corvane/Transport/Internal/SessionConfiguration.hpp"
#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane {

using platform::DispatchMemoryPressureSource;
using platform::DispatchQueue;
using platform::MemoryPressure;
using platform::URLSession;

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

  detail::ServiceClient clientFor(const SessionKey& key) {
    auto found = std::find_if(cache_.begin(), cache_.end(), [&](const Entry& entry) { return entry.key == key; });
    if (found == cache_.end()) {
      Configuration own = configuration(key.sessionConfigurationIdentifier);
      auto session = makeSession(key, own.get());
      found = cache_.insert(found, {key, std::move(session), std::move(own)});
    }
    return {found->session, found->configuration, isolationQueue_};
  }

  void invalidateAndCancel() {
    // Forgotten first, so that none is used that is closed.
    for (const Entry& entry : std::exchange(cache_, {})) entry.session->invalidateAndCancel();
  }

  void setConfiguration(std::optional<std::string> identifier, Configuration configuration) {
    // Made first, since nothing may fail once sessions are retired.
    std::vector<Configured> changed = configurations_;
    std::erase_if(changed, [&](const Configured& each) { return each.first == identifier; });
    if (configuration) {
      changed.emplace_back(identifier, configuration);
      detail::setRedaction(std::move(identifier), configuration->redaction);
    } else {
      detail::removeRedaction(identifier);
    }
    replaceConfigurations(std::move(changed));
  }

  void removeConfigurations() {
    detail::removeRedactions();
    replaceConfigurations({});
  }

  Configuration configuration(const std::optional<std::string>& identifier) const {
    if (const Configured* const own = entry(identifier)) return own->second;
    const Configured* const common = entry(std::nullopt);
    return common ? common->second : nullptr;
  }

  void didBecomeInvalid(const std::shared_ptr<URLSession>& session, const std::optional<platform::Error>&) override {
    const SessionKey key{session->sessionDescription(), session->configuration().waitsForConnectivity};
    std::erase_if(cache_, [&](const Entry& entry) { return entry.key == key && entry.session == session; });
  }

  void didReceiveChallenge(const std::shared_ptr<URLSession>& session,
                           const platform::URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    // Where the session has anchors alone, certificate files add nothing to them.
    const bool takesFiles = !session->configuration().tls.trustsOnlyAnchors;
    auto [disposition, credential] = detail::respondToChallenge(
        challenge, takesFiles ? Corvane::trustedCertificates() : std::vector<platform::URL>());
    completion(disposition, std::move(credential));
  }

 private:
  struct Entry {
    SessionKey key;
    std::shared_ptr<URLSession> session;
    Configuration configuration;
  };

  std::shared_ptr<URLSession> makeSession(const SessionKey& key, const HTTPClientConfiguration* found) {
    auto session = URLSession::make(
        detail::sessionConfiguration(found ? *found : HTTPClientConfiguration(), key.waitsForConnectivity),
        shared_from_this(), isolationQueue_);
    session->setSessionDescription(key.sessionConfigurationIdentifier);
    return session;
  }

  using Configured = std::pair<std::optional<std::string>, Configuration>;

  const Configured* entry(const std::optional<std::string>& identifier) const {
    const auto found = std::find_if(configurations_.begin(), configurations_.end(),
                                    [&](const Configured& each) { return each.first == identifier; });
    return found == configurations_.end() ? nullptr : &*found;
  }

  /// Retires the sessions that would be made otherwise now.
  void replaceConfigurations(std::vector<Configured> configurations) {
    configurations_ = std::move(configurations);
    for (std::size_t index = cache_.size(); index-- > 0;) {
      if (configuration(cache_[index].key.sessionConfigurationIdentifier) == cache_[index].configuration) continue;
      const std::shared_ptr<URLSession> retired = std::move(cache_[index].session);
      cache_.erase(cache_.begin() + static_cast<std::ptrdiff_t>(index));
      retired->finishTasksAndInvalidate();
    }
  }

  void didRecieveMemoryWarning() {
    for (const Entry& entry : std::exchange(cache_, {})) entry.session->finishTasksAndInvalidate();
  }

  const DispatchQueue isolationQueue_{"org.corvane.Corvane.HTTPService.isolationQueue"};
  const DispatchMemoryPressureSource memoryPressureSource_{isolationQueue_, {MemoryPressure::warning}};
  // Few: an application asks for a handful of kinds.
  std::vector<Entry> cache_;
  /// Without an identifier: the default.
  std::vector<Configured> configurations_;
};

HTTPService::HTTPService() : sessions_(std::make_shared<Sessions>()) { sessions_->watchMemory(); }
HTTPService::~HTTPService() = default;

HTTPService& HTTPService::shared() {
  static HTTPService& service = *new HTTPService;
  return service;
}

std::shared_ptr<URLSession> HTTPService::urlSession(const SessionKey& key) { return client(key).session; }

detail::ServiceClient HTTPService::client(const SessionKey& key) {
  return sessions_->onIsolationQueue([&] { return sessions_->clientFor(key); });
}

void HTTPService::invalidateAndCancel() {
  sessions_->onIsolationQueue([&] { sessions_->invalidateAndCancel(); });
}

void HTTPService::setConfiguration(std::optional<std::string> identifier, Configuration configuration) {
  sessions_->onIsolationQueue([&] { sessions_->setConfiguration(std::move(identifier), std::move(configuration)); });
}

void HTTPService::removeConfigurations() {
  sessions_->onIsolationQueue([&] { sessions_->removeConfigurations(); });
}

HTTPService::Configuration HTTPService::configuration(const std::optional<std::string>& identifier) {
  return sessions_->onIsolationQueue([&] { return sessions_->configuration(identifier); });
}

void Corvane::resetSessions() { HTTPService::shared().invalidateAndCancel(); }

}  // namespace corvane
