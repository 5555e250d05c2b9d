#pragma once

#include "Corvane/Transport/HTTPClientConfiguration.hpp"
#include "Platform/Loading/URLSession.hpp"

namespace corvane::detail {

/// What a session is made with.
platform::URLSessionConfiguration sessionConfiguration(const HTTPClientConfiguration& configuration,
                                                       bool waitsForConnectivity);

}  // namespace corvane::detail
