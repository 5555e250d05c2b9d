#pragma once

#include <optional>
#include <string>

#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Security/Internal/MessageDigest.hpp"

namespace corvane::detail {

/// The digest of a request's body, in hexadecimal digits. Reads a file or a stream once, and blocks meanwhile. Absent
/// for a stream that can be read once. Throws what reading throws.
std::optional<std::string> hashOfBody(const platform::URLRequest& request, const std::optional<platform::URL>& file,
                                      platform::detail::HashFunction function);

}  // namespace corvane::detail
