#include "Platform/Loading/Internal/TransportLibraries.hpp"

#include <curl/curl.h>
#include <openssl/ssl.h>

#include "Platform/Trap.hpp"

namespace platform::detail {

void startTransportLibraries() {
  // Transfers may still run while the process exits, so OpenSSL must not take itself apart then.
  OPENSSL_init_ssl(OPENSSL_INIT_NO_ATEXIT, nullptr);
  if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) trap("libcurl cannot be initialised");
}

}  // namespace platform::detail
