#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane::detail {

/// The credentials that an interceptor's request got from the interceptors before it: "Authorization", "Cookie" and
/// "Proxy-Authorization". They are for the origin that it had then.
class AddedCredentials {
 public:
  /// None.
  AddedCredentials() = default;
  /// Those of `received` that the request did not have when it was composed.
  AddedCredentials(const platform::URLRequest& composed, const platform::URLRequest& received);

  /// Takes them from a request that goes to another origin, as redirects do. What was set to another value stays.
  void dropElsewhere(platform::URLRequest& request) const;

 private:
  /// Absent where there are none.
  std::optional<platform::URL> origin_;
  std::vector<std::pair<const char*, std::string>> fields_;
};

}  // namespace corvane::detail
