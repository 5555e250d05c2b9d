#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Loading/HTTPCookie.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// Cookies in memory (RFC 6265bis). For one thread at a time.
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

  /// Those that `appendTo` appends.
  std::vector<HTTPCookie> cookies(const networking::Origin& origin, std::string_view target);
  /// All that have not expired, the oldest first.
  std::vector<HTTPCookie> cookies() const;
  /// In place of the one that it is the same as; one that has expired only removes that. An insecure origin may not
  /// hide a Secure one.
  void insert(HTTPCookie cookie, bool isSecureOrigin);
  /// The one with its name, domain and path. Returns whether there was one.
  bool remove(const HTTPCookie& cookie);

  std::size_t count() const { return count_; }

 private:
  struct Kept {
    HTTPCookie cookie;
    std::uint64_t created = 0;  ///< counts up
  };
  using Cookies = std::vector<Kept>;

  static Cookies::iterator find(Cookies& cookies, const HTTPCookie& cookie);
  std::vector<const Kept*> chosen(const networking::Origin& origin, std::string_view target);
  void removeExpired(Cookies& cookies);
  void removeOldest(Cookies& cookies);
  void makeRoom();
  bool hidesSecure(const HTTPCookie& cookie) const;

  std::map<std::string, Cookies, std::less<>> domains_;
  std::size_t count_ = 0;
  std::uint64_t lastCreated_ = 0;
};

}  // namespace platform::detail
