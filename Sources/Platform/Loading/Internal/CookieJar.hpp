#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Loading/Internal/SetCookie.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// The cookies of one session, in memory (RFC 6265bis). For one thread.
///
/// A cookie for a whole domain is taken only of a host in that domain, and never for a public suffix such as "co.uk";
/// one that is Secure only over https; `__Secure-` and `__Host-` mean what they say. Bounded: the cookies that were
/// made first make room.
class CookieJar {
 public:
  static constexpr std::size_t maximumOfDomain = 180;
  static constexpr std::size_t maximumInAll = 3000;

  /// Appends "name=value; name=value", the longest path first, then the oldest; nothing when there is none.
  /// `target` is path and query of the request.
  void appendTo(std::string& out, const networking::Origin& origin, std::string_view target);
  /// Takes the value of a Set-Cookie field, or ignores it.
  void store(std::string_view field, const networking::Origin& origin, std::string_view target);

  std::size_t count() const { return count_; }

 private:
  struct Cookie {
    std::string name;
    std::string value;
    std::string path;
    std::optional<std::int64_t> expiry;
    bool isHostOnly = true;
    bool isSecure = false;
    std::uint64_t created = 0;  ///< counts up
  };
  using Cookies = std::vector<Cookie>;

  void insert(const std::string& domain, Cookie cookie, bool isSecureOrigin);
  void removeOldest(Cookies& cookies);
  void makeRoom();
  bool hidesSecure(const std::string& domain, const Cookie& cookie) const;

  std::map<std::string, Cookies, std::less<>> domains_;
  std::size_t count_ = 0;
  std::uint64_t lastCreated_ = 0;
};

/// Whether the path of a request is in that of a cookie (RFC 6265bis, 5.1.4).
bool cookiePathMatches(std::string_view path, std::string_view cookiePath);

}  // namespace platform::detail
