#pragma once

#include <memory>

#include "Corvane/Transport/SessionKey.hpp"
#include "Platform/Export.hpp"

namespace platform {
class URLSession;
}

namespace corvane {

/// The process's URL sessions: one for each kind of session that requests ask for, made on first use and
/// kept until memory gets short, `Corvane::resetSessions()`, or its own invalidation.
///
/// One serial queue guards the sessions and is the delegate queue of each, so everything that a session
/// reports runs on it. Any thread may ask for a session.
class CORVANE_API HTTPService {
 public:
  /// The one instance.
  static HTTPService& shared();
  HTTPService(const HTTPService&) = delete;
  HTTPService& operator=(const HTTPService&) = delete;

  /// The session for a request: shared with every request that has the same session configuration
  /// identifier and the same `shouldWaitForConnectivity`.
  template <class Request>
  std::shared_ptr<platform::URLSession> urlSession(const Request& request) {
    return urlSession(detail::sessionKey(request));
  }
  std::shared_ptr<platform::URLSession> urlSession(const SessionKey& key);

  /// Forgets every session and cancels its tasks. Returns when they have been cancelled.
  void invalidateAndCancel();

 private:
  HTTPService();
  ~HTTPService();

  class Sessions;
  const std::shared_ptr<Sessions> sessions_;
};

}  // namespace corvane
