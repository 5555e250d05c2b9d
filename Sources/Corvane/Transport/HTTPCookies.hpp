#pragma once

/// Cookies that the application reads, sets and keeps: `HTTPCookie` and `HTTPCookieStorage`. Not part of `Corvane.hpp`,
/// since they need `<chrono>`.

#include "Platform/Loading/HTTPCookie.hpp"
#include "Platform/Loading/HTTPCookieStorage.hpp"

namespace corvane {

using platform::HTTPCookie;
using platform::HTTPCookieStorage;

}  // namespace corvane
