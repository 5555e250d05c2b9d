#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Loading/HTTPCookie.hpp"

namespace platform {

class URL;

namespace detail {
class HTTPLoader;
class RequestTarget;
}  // namespace detail

/// The cookies of the sessions that are made with it (`URLSessionConfiguration::httpCookieStorage`), in memory. They
/// outlive those sessions, and may be read and changed meanwhile: by the next request at the latest a change holds,
/// also for the hops of a redirect. Thread-safe; nothing is called back.
///
/// Nothing is kept on disk. An application that wants to find its cookies again writes down `cookies()`, where only the
/// user can read it, and passes each to `set` later.
///
/// It holds 3000 cookies, of which 180 of one domain; the oldest make room.
class CORVANE_API HTTPCookieStorage {
 public:
  /// An empty one.
  HTTPCookieStorage();
  ~HTTPCookieStorage();
  HTTPCookieStorage(const HTTPCookieStorage&) = delete;
  HTTPCookieStorage& operator=(const HTTPCookieStorage&) = delete;

  /// All that have not expired, in the order in which they were first stored.
  std::vector<HTTPCookie> cookies() const;
  /// Those that a request for that URL is sent with, in the order in which they are sent; none where it is not http or
  /// https.
  std::vector<HTTPCookie> cookies(const URL& url) const;
  /// Stores the cookie, in place of the one that has its name, domain, `isHostOnly` and path; one that has expired
  /// removes that. The domain is taken in lower case. Throws an `Error` ("NSOSStatusErrorDomain", -50) with the
  /// sentence of `HTTPCookie::problem`.
  void set(HTTPCookie cookie);
  /// Removes the cookie with this one's name, domain, `isHostOnly` and path. Returns whether there was one.
  bool remove(const HTTPCookie& cookie);
  /// Removes all cookies. A response that is under way may set some again.
  void removeAll();

 private:
  friend class detail::HTTPLoader;

  void appendTo(std::string& out, const detail::RequestTarget& target);
  void store(std::string_view field, const detail::RequestTarget& target);

  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace platform
