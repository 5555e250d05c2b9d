#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Corvane/Transport/SessionKey.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {
class URLSession;
}

namespace corvane {

struct HTTPClientConfiguration;

namespace detail {
struct ServiceClient;
}  // namespace detail

/// The URL sessions of the process: one for each `SessionKey`, created on first use and kept until memory runs short,
/// `Corvane::resetSessions()` is called, or the session is invalidated.
///
/// One serial queue guards the sessions and is the delegate queue of each, so that all callbacks of a session run on
/// it. May be used on any thread.
///
///     const std::shared_ptr<platform::URLSession> session = HTTPService::shared().urlSession(request);
class CORVANE_API HTTPService {
 public:
  /// The one instance.
  static HTTPService& shared();
  HTTPService(const HTTPService&) = delete;
  HTTPService& operator=(const HTTPService&) = delete;

  /// The session for a request. It is shared with every request that has the same `sessionConfigurationIdentifier` and
  /// the same `shouldWaitForConnectivity`.
  template <class Request>
  std::shared_ptr<platform::URLSession> urlSession(const Request& request) {
    return urlSession(detail::sessionKey(request));
  }
  std::shared_ptr<platform::URLSession> urlSession(const SessionKey& key);
  /// The same with what the session was made for.
  detail::ServiceClient client(const SessionKey& key);

  /// Discards every session and cancels its tasks. Returns when they have been cancelled.
  void invalidateAndCancel();

 private:
  friend struct HTTPClientConfiguration;
  using Configuration = std::shared_ptr<const HTTPClientConfiguration>;

  /// Absent: the default. Null removes what there is.
  void setConfiguration(std::optional<std::string> identifier, Configuration configuration);
  void removeConfigurations();
  /// What sessions for that identifier are made with; null: nothing was set.
  Configuration configuration(const std::optional<std::string>& identifier);

  HTTPService();
  ~HTTPService();

  class Sessions;
  const std::shared_ptr<Sessions> sessions_;
};

/// What a request is sent with.
struct detail::ServiceClient {
  std::shared_ptr<platform::URLSession> session;
  /// Null: there is none.
  std::shared_ptr<const HTTPClientConfiguration> configuration;
  /// That of all sessions.
  platform::DispatchQueue queue;
};

}  // namespace corvane
