#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace corvane {

/// The "User-Agent" of every request that does not set its own, e.g.
/// "Reader/2.1 (reader.bundle; build:45; iOS 13.3.0) Corvane/1.4".
///
/// Created on first use from the main bundle's information, and kept: set the information of `Bundle::main()` before
/// you send the first request. Without it, the user agent is "Corvane".
CORVANE_API const std::string& userAgent();

namespace detail {

struct UserAgentInputs {
  std::optional<platform::Dictionary> application;
  std::optional<platform::Dictionary> library;
  /// major.minor.patch
  std::string operatingSystemVersion;
};

CORVANE_API std::string composedUserAgent(const UserAgentInputs& inputs);

}  // namespace detail
}  // namespace corvane
