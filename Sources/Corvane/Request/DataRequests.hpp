#pragma once

#include <concepts>
#include <utility>

#include "Corvane/Request/DataRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// What a ready-made request may add to its URL, by name:
/// `DataGetRequest(url, {.queryItems = {{"page", 2}}})`.
struct DataRequestOptions {
  HTTPHeaders headers = {};
  HTTPQueryItems queryItems = {};
};

namespace detail {

/// The base that a URL was made relative to, else "/".
CORVANE_API platform::URL baseOf(const platform::URL& url);

// The constructors that take headers are templates for one reason: where braces could mean headers and
// options alike, as `{}` does (and `{.queryItems = …}` to GCC 12, which overlooks the name), options win.
template <class T>
concept Headers = std::same_as<T, HTTPHeaders>;

/// What every ready-made request stores, over the mixin that makes it a request. Immutable.
template <class Mixin>
class StoredDataRequest : public Mixin, public StoredURL {
 public:
  /// The URL as it was given. What is sent is this URL with the query items, if there are any, as its query.
  const platform::URL& url() const { return url_; }
  platform::URL baseURL() const { return baseOf(url_); }
  HTTPHeaders sharedHeaders() const { return {}; }
  const HTTPHeaders& headers() const { return headers_; }
  const HTTPQueryItems& queryItems() const { return queryItems_; }

 protected:
  StoredDataRequest(platform::URL url, HTTPHeaders headers, HTTPQueryItems queryItems)
      : url_(std::move(url)), headers_(std::move(headers)), queryItems_(std::move(queryItems)) {}

 private:
  platform::URL url_;
  HTTPHeaders headers_;
  HTTPQueryItems queryItems_;
};

/// The same with a body.
template <class Mixin>
class StoredBodyRequest : public StoredDataRequest<Mixin> {
 public:
  /// The bytes, sent as they are.
  const platform::Data& body() const { return body_; }

 protected:
  StoredBodyRequest(platform::URL url, platform::Data body, HTTPHeaders headers, HTTPQueryItems queryItems)
      : StoredDataRequest<Mixin>(std::move(url), std::move(headers), std::move(queryItems)), body_(std::move(body)) {}

 private:
  platform::Data body_;
};

}  // namespace detail

// The ready-made requests. Each is an immutable value; its answer comes as a `DataResponse`. Headers and
// query items come in this order, or by name in a `DataRequestOptions`.

/// A "GET" of a URL.
class CORVANE_API DataGetRequest final : public detail::StoredDataRequest<DataGetRequestable<DataGetRequest>> {
 public:
  explicit DataGetRequest(platform::URL url, DataRequestOptions options = {})
      : StoredDataRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredDataRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "DELETE" of a URL.
class CORVANE_API DataDeleteRequest final : public detail::StoredDataRequest<DataDeleteRequestable<DataDeleteRequest>> {
 public:
  explicit DataDeleteRequest(platform::URL url, DataRequestOptions options = {})
      : StoredDataRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataDeleteRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredDataRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "POST" of bytes to a URL.
class CORVANE_API DataPostRequest final : public detail::StoredBodyRequest<DataPostRequestable<DataPostRequest>> {
 public:
  explicit DataPostRequest(platform::URL url, platform::Data body, DataRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataPostRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PUT" of bytes to a URL.
class CORVANE_API DataPutRequest final : public detail::StoredBodyRequest<DataPutRequestable<DataPutRequest>> {
 public:
  explicit DataPutRequest(platform::URL url, platform::Data body, DataRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataPutRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PATCH" of a URL by bytes.
class CORVANE_API DataPatchRequest final : public detail::StoredBodyRequest<DataPatchRequestable<DataPatchRequest>> {
 public:
  explicit DataPatchRequest(platform::URL url, platform::Data body, DataRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataPatchRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

namespace detail {
template <class Self>
struct AnyMethodDataRequestable : DataRequestable<Self>, HTTPBodyRequestable<Self, platform::Data> {};
}  // namespace detail

/// Any method on a URL, always with a body, if an empty one.
class CORVANE_API DataRequest final : public detail::StoredBodyRequest<detail::AnyMethodDataRequestable<DataRequest>> {
 public:
  DataRequest(platform::URL url, HTTPMethod method, platform::Data body = {}, DataRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)),
        method_(std::move(method)) {}
  template <detail::Headers Fields = HTTPHeaders>
  DataRequest(platform::URL url, HTTPMethod method, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)),
        method_(std::move(method)) {}

  const HTTPMethod& method() const { return method_; }

 private:
  HTTPMethod method_;
};

extern template class HTTPRequestable<DataGetRequest, DataResponse>;
extern template class HTTPRequestable<DataDeleteRequest, DataResponse>;
extern template class HTTPRequestable<DataPostRequest, DataResponse>;
extern template class HTTPRequestable<DataPutRequest, DataResponse>;
extern template class HTTPRequestable<DataPatchRequest, DataResponse>;
extern template class HTTPRequestable<DataRequest, DataResponse>;

}  // namespace corvane
