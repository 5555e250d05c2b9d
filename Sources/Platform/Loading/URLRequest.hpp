#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform {

/// How a response may come from a cache. Sessions of this library keep no cache, so every policy goes to the
/// network, except that `returnCacheDataDontLoad` fails with -2000.
enum class URLRequestCachePolicy {
  useProtocolCachePolicy = 0,
  reloadIgnoringLocalCacheData = 1,
  returnCacheDataElseLoad = 2,
  returnCacheDataDontLoad = 3,
  reloadIgnoringLocalAndRemoteCacheData = 4,
  reloadRevalidatingCacheData = 5,
};

/// What is to be loaded: a plain value.
struct CORVANE_API URLRequest {
  /// A GET of the URL.
  URLRequest(URL target,  // NOLINT(google-explicit-constructor): a URL is the simplest request
             URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy, double timeout = 60.0)
      : url(std::move(target)), cachePolicy(policy), timeoutInterval(timeout) {}

  /// What is loaded: an http, https or file URL.
  URL url;
  /// Default: `useProtocolCachePolicy`.
  URLRequestCachePolicy cachePolicy;
  /// Seconds without any progress after which the load fails with -1001: name resolution, connecting and
  /// each wait for the next byte, in either direction. Waiting for a free connection does not count, nor for a
  /// network (`waitsForConnectivity`), nor for the delegate's verdict on a server.
  double timeoutInterval;
  /// Default: "GET".
  std::string httpMethod = "GET";
  /// As they are sent, but for those that the transport adds.
  HTTPHeaderFields allHTTPHeaderFields;
  /// Absent: no body. Present and empty: an empty body.
  std::optional<Data> httpBody;
  /// How many bytes the body of the response may have, decoded from its content codings, in memory or in a file; beyond
  /// that the load fails with -1103. Absent, the default: the session's `maximumBodyBytes` in memory, any number in a
  /// file.
  std::optional<std::int64_t> maximumBodyBytes;

  /// Empty when the request may be sent, otherwise a sentence that names what is wrong: a method that is
  /// not a token (RFC 9110, 9.1), a header field (see `HTTPHeaderFields::problem`), a header that the
  /// transport owns and that would contradict it, a time-out that is not a positive finite number, a negative
  /// `maximumBodyBytes`.
  std::string problem() const {
    return problem(httpBody ? std::optional<std::size_t>(httpBody->count()) : std::nullopt);
  }
  /// The same for a request whose body, of that many bytes, comes from elsewhere; absent: there is none.
  std::string problem(std::optional<std::size_t> bodyLength) const;
};

}  // namespace platform
