#pragma once

#include <optional>
#include <utility>

#include "Corvane/Request/StoredRequest.hpp"
#include "Corvane/Transfers/DownloadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

// The ready-made downloads. Each is an immutable value. What becomes of the file: see `DownloadRequestable`. Headers
// and query items come in this order, or by name in a `HTTPDownloadOptions`.

/// The options of a ready-made download, by name: `DownloadGetRequest(url, {.destination = {{.path = "manual.pdf"}}})`.
///
///     DownloadGetRequest<URL>(url, {.destination = {{.path = "manual.pdf", .resumes = true}}}).send().get();
struct HTTPDownloadOptions {
  /// Leave it out. It keeps braces without names from being taken for options.
  [[no_unique_address]] detail::ByName byName = detail::ByName();
  /// Header fields of this request.
  HTTPHeaders headers = {};
  /// The query; if it is empty, the query of the URL is kept.
  HTTPQueryItems queryItems = {};
  /// Where the file is saved. Absent: a temporary directory.
  std::optional<HTTPDownloadDestination> destination = std::nullopt;
  /// The digest that the file must have. Absent: any will do.
  std::optional<platform::SHA256Digest> expectedDigest = std::nullopt;
};

namespace detail {

/// What a ready-made download has beside other requests. Immutable.
template <class Stored>
class StoredDownload : public Stored {
 public:
  const std::optional<HTTPDownloadDestination>& destination() const { return destination_; }
  const std::optional<platform::SHA256Digest>& expectedDigest() const { return expectedDigest_; }

 protected:
  using Stored::Stored;
  void setFile(HTTPDownloadOptions&& options) {
    destination_ = std::move(options.destination);
    expectedDigest_ = std::move(options.expectedDigest);
  }

 private:
  std::optional<HTTPDownloadDestination> destination_;
  std::optional<platform::SHA256Digest> expectedDigest_;
};

}  // namespace detail

/// A "GET" of a URL into a file: `DownloadGetRequest(url)`, or `DownloadGetRequest<Data>(url)` for its content.
template <class Download = platform::URL>
class DownloadGetRequest final
    : public detail::StoredDownload<
          detail::StoredRequest<DownloadRequestable<DownloadGetRequest<Download>, Download>>> {
  using Base =
      detail::StoredDownload<detail::StoredRequest<DownloadRequestable<DownloadGetRequest<Download>, Download>>>;

 public:
  /// Options by name.
  explicit DownloadGetRequest(platform::URL url, HTTPDownloadOptions options = {})
      : Base(std::move(url), std::move(options.headers), std::move(options.queryItems)) {
    this->setFile(std::move(options));
  }
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DownloadGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : Base(std::move(url), std::move(headers), std::move(queryItems)) {}
};

namespace detail {
template <class Self, class Download>
struct AnyMethodDownloadRequestable : DownloadRequestable<Self, Download>, HTTPBodyRequestable<Self, platform::Data> {};
}  // namespace detail

/// A request with any method and a body, which may be empty; the response is written to a file.
///
///     const platform::URL file =
///         DownloadRequest("https://api.example.com/reports", HTTPMethod::post, "query").send().get().body;
template <class Download = platform::URL>
class DownloadRequest final
    : public detail::StoredDownload<
          detail::StoredBodyRequest<detail::AnyMethodDownloadRequestable<DownloadRequest<Download>, Download>>> {
  using Base = detail::StoredDownload<
      detail::StoredBodyRequest<detail::AnyMethodDownloadRequestable<DownloadRequest<Download>, Download>>>;

 public:
  /// Options by name.
  DownloadRequest(platform::URL url, HTTPMethod method, platform::Data body = {}, HTTPDownloadOptions options = {})
      : Base(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)),
        method_(std::move(method)) {
    this->setFile(std::move(options));
  }
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DownloadRequest(platform::URL url, HTTPMethod method, platform::Data body, Fields headers,
                  HTTPQueryItems queryItems = {})
      : Base(std::move(url), std::move(body), std::move(headers), std::move(queryItems)), method_(std::move(method)) {}

  /// The method passed to the constructor.
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
