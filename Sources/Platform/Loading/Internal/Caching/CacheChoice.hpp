#pragma once

#include <cstdint>
#include <string_view>

#include "Platform/Loading/CacheConfiguration.hpp"
#include "Platform/Loading/Internal/Caching/CacheControl.hpp"
#include "Platform/Loading/Internal/Caching/CachedResponse.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace platform::detail {

/// What a request says about caches.
struct CacheRequest {
  /// "Pragma: no-cache" counts where there is no "Cache-Control" (RFC 9111, 5.4). `fields` are what is sent.
  static CacheRequest of(RequestFields fields, const URLRequest& urlRequest);
  /// Whether it may go to the server.
  bool mayBeSent() const { return policy != URLRequestCachePolicy::returnCacheDataDontLoad && !control.onlyIfCached; }

  URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy;
  CacheControl control;
  /// It asks for a range, has conditions of its own, forbids to store it, or is authorized by what is never the same
  /// again (RFC 7616, 3.4): nothing is read, and nothing is stored.
  bool passesBy = false;
  /// What is new is asked for: see `URLRequest::isRepetition`.
  bool isRepetition = false;
};

/// What is to become of a request.
enum class CacheChoice : std::uint8_t {
  load,               ///< send it
  validate,           ///< send it, with the validators of the stored response
  serve,              ///< the stored response is the response
  serveThenValidate,  ///< so it is, and it is validated afterwards
  unavailable         ///< it may not be sent, and there is nothing stored for it
};

/// `stored` is null where there is nothing for the request.
CacheChoice cacheChoice(const CacheRequest& request, const CachedResponse* stored, const CacheTime& now,
                        const CacheConfiguration& configuration);

/// Whether a stored response may stand for the failure of a request (RFC 5861, 4; RFC 9111, 4.2.4).
bool mayServeOnError(const CacheRequest& request, const CachedResponse& stored, const CacheTime& now,
                     const CacheConfiguration& configuration);

/// The statuses that count as such a failure.
bool isServerFailure(int statusCode);

/// Methods that change nothing at the server (RFC 9110, 9.2.1). Unknown ones may.
bool isSafeMethod(std::string_view method);

}  // namespace platform::detail
