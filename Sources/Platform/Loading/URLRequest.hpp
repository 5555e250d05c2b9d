#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform {

class URLBodyStream;
namespace detail {
class ExchangeSources;
}

/// Whether a response may come from the cache of its session (`CacheConfiguration`).
enum class URLRequestCachePolicy {
  /// As HTTP says (RFC 9111): a fresh response is returned, a stale one is validated first.
  useProtocolCachePolicy = 0,
  /// The request is sent. Its response is stored.
  reloadIgnoringLocalCacheData = 1,
  /// What is stored is returned, however old; without it the request is sent.
  returnCacheDataElseLoad = 2,
  /// What is stored is returned, however old; without it the request fails with -2000.
  returnCacheDataDontLoad = 3,
  /// As `reloadIgnoringLocalCacheData`; other caches are told by "Cache-Control: no-cache", unless the request has a
  /// "Cache-Control" of its own.
  reloadIgnoringLocalAndRemoteCacheData = 4,
  /// What is stored is returned if the server confirms it, also where it is fresh.
  reloadRevalidatingCacheData = 5,
};

/// The description of a load. A plain value.
struct CORVANE_API URLRequest {
  /// A GET of the URL.
  URLRequest(URL target,  // NOLINT(google-explicit-constructor): a URL is the simplest request
             URLRequestCachePolicy policy = URLRequestCachePolicy::useProtocolCachePolicy, double timeout = 60.0)
      : url(std::move(target)), cachePolicy(policy), timeoutInterval(timeout) {}

  /// The address to load: an http, https or file URL.
  URL url;
  /// Default: `useProtocolCachePolicy`.
  URLRequestCachePolicy cachePolicy;
  /// Seconds without any progress after which the load fails with -1001: name resolution, connecting and each wait for
  /// the next byte, in either direction. Waiting for a free connection, for a network (`waitsForConnectivity`) or for
  /// the delegate's decision on a server does not count. Default: 60.
  double timeoutInterval;
  /// Seconds within which there must be a connection, from the name look-up to the end of the TLS handshake; otherwise
  /// the load fails with -1001, whatever progress there was. What does not count for `timeoutInterval` does not count
  /// here. Default: no limit.
  double connectTimeout = __builtin_huge_val();
  /// Default: "GET". Any token (RFC 9110, 9.1) but CONNECT.
  std::string httpMethod = "GET";
  /// The header fields to send. The transport adds its own, such as "Host" and "Content-Length".
  HTTPHeaderFields allHTTPHeaderFields;
  /// Absent: no body. Present and empty: an empty body.
  std::optional<Data> httpBody;
  /// A body that is made while it is sent, in place of `httpBody`. Null, the default: none. With an unknown length it
  /// is sent in chunks (RFC 9112, 7.1), or over HTTP/2 without a "content-length". The time in which the request waits
  /// for its body does not count for `timeoutInterval`.
  std::shared_ptr<URLBodyStream> httpBodyStream;
  /// The maximum length of the response's body in bytes, decoded from its content codings, in memory or in a file; a
  /// longer body fails with -1103. Absent, the default: the session's `maximumBodyBytes` in memory, no limit in a file.
  std::optional<std::int64_t> maximumBodyBytes;
  /// What tests put between the request and the network when it is sent. Null, the default: nothing.
  std::shared_ptr<const detail::ExchangeSources> exchangeSources;
  /// Whether the same was sent before, and the server is asked for what is new: the library sets it for the further
  /// attempts of a retry, for the ticks of a poll, and for what an interceptor sends once more. With
  /// `useProtocolCachePolicy` a stored response is then returned only if the server confirms it. Default: false.
  bool isRepetition = false;

  /// Empty when the request may be sent, otherwise a sentence that names the fault: a method that is not a token (RFC
  /// 9110, 9.1), CONNECT, HEAD or TRACE with a body (9.3.2, 9.3.8), an invalid header field (see
  /// `HTTPHeaderFields::problem`), a header field that belongs to the transport ("Transfer-Encoding") or contradicts it
  /// (a wrong "Content-Length"), a repeated "Host" or "Content-Length", a time-out that is not a positive finite
  /// number, a negative `maximumBodyBytes`, two bodies, a "Content-Length" for a body of unknown length.
  std::string problem() const;
  /// The same for a request with a body of that many bytes from elsewhere; absent: without a body.
  std::string problem(std::optional<std::size_t> bodyLength) const;
};

}  // namespace platform
