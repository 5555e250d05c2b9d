#pragma once

namespace platform::detail {

/// Prepares libcurl and OpenSSL for the process; traps when they cannot be had. Once, before their first use.
void startTransportLibraries();

}  // namespace platform::detail
