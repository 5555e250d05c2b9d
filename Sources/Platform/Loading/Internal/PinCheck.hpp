#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Loading/TLSConfiguration.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform::detail {

/// Why a server is refused although it is trusted: a sentence; absent when it has a pinned key, or needs none. `host`
/// is as in an `Origin`. `chain` is the one that was verified, the server's own certificate first.
std::optional<std::string> pinProblem(const std::vector<TLSPins>& pins, const std::string& host,
                                      const std::vector<SecCertificate>& chain);

}  // namespace platform::detail
