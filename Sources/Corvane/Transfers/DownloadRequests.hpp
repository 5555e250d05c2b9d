#pragma once

#include <utility>

#include "Corvane/Request/StoredRequest.hpp"
#include "Corvane/Transfers/DownloadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

// The ready-made downloads. Each is an immutable value. What becomes of the file: see `DownloadRequestable`. Headers
// and query items come in this order, or by name in a `HTTPRequestOptions`.

/// A "GET" of a URL into a file: `DownloadGetRequest(url)`, or `DownloadGetRequest<Data>(url)` for its content.
template <class Download = platform::URL>
class DownloadGetRequest final
    : public detail::StoredRequest<DownloadRequestable<DownloadGetRequest<Download>, Download>> {
  using Base = detail::StoredRequest<DownloadRequestable<DownloadGetRequest<Download>, Download>>;

 public:
  /// Headers and query items by name.
  explicit DownloadGetRequest(platform::URL url, HTTPRequestOptions options = {})
      : Base(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DownloadGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : Base(std::move(url), std::move(headers), std::move(queryItems)) {}
};

namespace detail {
template <class Self, class Download>
struct AnyMethodDownloadRequestable : DownloadRequestable<Self, Download>, HTTPBodyRequestable<Self, platform::Data> {};
}  // namespace detail

/// Any method on a URL, always with a body, if an empty one; the response goes into a file.
template <class Download = platform::URL>
class DownloadRequest final
    : public detail::StoredBodyRequest<detail::AnyMethodDownloadRequestable<DownloadRequest<Download>, Download>> {
  using Base = detail::StoredBodyRequest<detail::AnyMethodDownloadRequestable<DownloadRequest<Download>, Download>>;

 public:
  /// Headers and query items by name.
  DownloadRequest(platform::URL url, HTTPMethod method, platform::Data body = {}, HTTPRequestOptions options = {})
      : Base(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)),
        method_(std::move(method)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DownloadRequest(platform::URL url, HTTPMethod method, platform::Data body, Fields headers,
                  HTTPQueryItems queryItems = {})
      : Base(std::move(url), std::move(body), std::move(headers), std::move(queryItems)), method_(std::move(method)) {}

  /// The method that was given.
  const HTTPMethod& method() const { return method_; }

 private:
  HTTPMethod method_;
};

// Compiled once, in the library.
extern template struct HTTPResponse<platform::URL>;
extern template class detail::ResponseExchange<DownloadResponse<platform::URL>>;
extern template struct detail::SendFuture<DownloadResponse<platform::URL>>;
extern template class HTTPRequestable<DownloadGetRequest<platform::URL>, DownloadResponse<platform::URL>>;
extern template class HTTPRequestable<DownloadRequest<platform::URL>, DownloadResponse<platform::URL>>;
extern template class detail::TransferRequestable<DownloadGetRequest<platform::URL>, DownloadResponse<platform::URL>,
                                                  detail::download>;
extern template class detail::TransferRequestable<DownloadRequest<platform::URL>, DownloadResponse<platform::URL>,
                                                  detail::download>;

}  // namespace corvane
