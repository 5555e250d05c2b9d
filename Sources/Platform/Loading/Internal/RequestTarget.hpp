#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// What a request needs to know of an http or https URL. Reused for one URL after the other; the views are into its own
/// texts.
class RequestTarget {
 public:
  /// False when the URL leads nowhere: another scheme, no host, or a host that no name can have. Costs little when it
  /// is the same URL as before.
  bool set(const URL& url);

  const networking::Route& route() const { return route_; }
  /// Host and port as they are written, without the scheme's own port and without the user.
  std::string_view authority() const { return authority_; }
  /// Path and query as they are written (RFC 9112, 3.2.1).
  std::string_view target() const { return target_; }
  /// "Basic" and what follows, when the URL has a user (RFC 7617); empty otherwise.
  std::string_view authorization() const { return authorization_; }
  /// The host alone, in lower case, as it is in the route.
  const std::string& host() const { return route_.origin.host; }

 private:
  bool parse(const URL& url);

  std::string url_;  ///< the text that the rest was read from; empty: none
  networking::Route route_;
  std::string authority_;
  std::string target_;
  std::string authorization_;
};

}  // namespace platform::detail
