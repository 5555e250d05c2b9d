#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"

namespace platform {

class URL;

/// A cookie: what is sent, and where to (RFC 6265bis, 5.7).
struct CORVANE_API HTTPCookie {
  /// By the clock of the system.
  using Time = std::chrono::system_clock::time_point;

  /// May be empty: the value is then sent alone.
  std::string name;
  /// What is sent for it. Name and value have 4096 bytes at most.
  std::string value;
  /// The host that it is for, in lower case; with `isHostOnly` off, of every host below as well. "shop.example"
  std::string domain;
  /// Whether it is sent to that host alone. Default: true.
  bool isHostOnly = true;
  /// It is sent with requests for this path and what is below.
  std::string path = "/";
  /// Absent: until its storage ends.
  std::optional<Time> expires;
  /// For https only.
  bool isSecure = false;
  /// What the server said for browsers, where scripts run; it changes nothing here.
  bool isHTTPOnly = false;
  /// "Strict", "Lax", "None", or empty where the server did not say. It changes nothing here, since requests come from
  /// no page.
  std::string sameSite;

  /// What a "Set-Cookie" field in a response to a request for that URL means; absent where it is to be ignored: it is
  /// damaged, for another domain or a whole public suffix ("co.uk"), Secure without https, or breaks what its prefix
  /// (`__Secure-`, `__Host-`) promises. An `expires` in the past asks to remove the cookie of that name.
  static std::optional<HTTPCookie> fromSetCookie(std::string_view field, const URL& url);

  /// Empty when it can be stored, otherwise a sentence that names the fault.
  std::string problem() const;

  friend bool operator==(const HTTPCookie&, const HTTPCookie&) = default;
};

}  // namespace platform
