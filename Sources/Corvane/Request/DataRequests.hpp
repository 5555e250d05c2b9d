#pragma once

#include <utility>

#include "Corvane/Request/DataMethodRequestable.hpp"
#include "Corvane/Request/StoredRequest.hpp"
#include "Platform/Export.hpp"

namespace corvane {

// The ready-made requests. Each is an immutable value; its response comes as a `DataResponse`. Headers and
// query items come in this order, or by name in a `HTTPRequestOptions`.

/// A "GET" of a URL, for a response that is kept as bytes. `send` sends it.
///
///     const platform::Data page = DataGetRequest("https://example.com/").send().get().body;
class CORVANE_API DataGetRequest final : public detail::StoredRequest<DataGetRequestable<DataGetRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataGetRequest(platform::URL url, HTTPRequestOptions options = {})
      : StoredRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataGetRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "HEAD" of a URL: its header fields, without its body.
///
///     const auto response = DataHeadRequest(url).send().get();
///     const std::int64_t length = response.expectedContentLength.value_or(-1);
class CORVANE_API DataHeadRequest final : public detail::StoredRequest<DataHeadRequestable<DataHeadRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataHeadRequest(platform::URL url, HTTPRequestOptions options = {})
      : StoredRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataHeadRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "DELETE" of a URL.
///
///     DataDeleteRequest("https://api.example.com/users/7").send().get();
class CORVANE_API DataDeleteRequest final : public detail::StoredRequest<DataDeleteRequestable<DataDeleteRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataDeleteRequest(platform::URL url, HTTPRequestOptions options = {})
      : StoredRequest(std::move(url), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataDeleteRequest(platform::URL url, Fields headers, HTTPQueryItems queryItems = {})
      : StoredRequest(std::move(url), std::move(headers), std::move(queryItems)) {}
};

/// A "POST" of bytes to a URL. They are sent as "application/octet-stream"; a
/// `DataUploadRequest` names another type.
///
///     DataPostRequest("https://api.example.com/notes/7", bytes).send().get();
class CORVANE_API DataPostRequest final : public detail::StoredBodyRequest<DataPostRequestable<DataPostRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataPostRequest(platform::URL url, platform::Data body, HTTPRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataPostRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PUT" of bytes to a URL. They are sent as "application/octet-stream"; a
/// `DataUploadRequest` names another type.
///
///     DataPutRequest("https://api.example.com/notes/7", bytes).send().get();
class CORVANE_API DataPutRequest final : public detail::StoredBodyRequest<DataPutRequestable<DataPutRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataPutRequest(platform::URL url, platform::Data body, HTTPRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataPutRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

/// A "PATCH" of a URL by bytes. They are sent as "application/octet-stream"; a
/// `DataUploadRequest` names another type.
///
///     DataPatchRequest("https://api.example.com/notes/7", bytes).send().get();
class CORVANE_API DataPatchRequest final : public detail::StoredBodyRequest<DataPatchRequestable<DataPatchRequest>> {
 public:
  /// Headers and query items by name.
  explicit DataPatchRequest(platform::URL url, platform::Data body, HTTPRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataPatchRequest(platform::URL url, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)) {}
};

namespace detail {
template <class Self>
struct AnyMethodDataRequestable : DataRequestable<Self>, HTTPBodyRequestable<Self, platform::Data> {};
}  // namespace detail

/// A request with any method and a body, which may be empty.
///
///     DataRequest("https://api.example.com/notes/7", HTTPMethod("LOCK")).send().get();
class CORVANE_API DataRequest final : public detail::StoredBodyRequest<detail::AnyMethodDataRequestable<DataRequest>> {
 public:
  /// Headers and query items by name.
  DataRequest(platform::URL url, HTTPMethod method, platform::Data body = {}, HTTPRequestOptions options = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(options.headers), std::move(options.queryItems)),
        method_(std::move(method)) {}
  /// Headers and query items in order.
  template <detail::Headers Fields = HTTPHeaders>
  DataRequest(platform::URL url, HTTPMethod method, platform::Data body, Fields headers, HTTPQueryItems queryItems = {})
      : StoredBodyRequest(std::move(url), std::move(body), std::move(headers), std::move(queryItems)),
        method_(std::move(method)) {}

  /// The method passed to the constructor.
  const HTTPMethod& method() const { return method_; }

 private:
  HTTPMethod method_;
};

extern template class HTTPRequestable<DataGetRequest, DataResponse>;
extern template class HTTPRequestable<DataHeadRequest, DataResponse>;
extern template class HTTPRequestable<DataDeleteRequest, DataResponse>;
extern template class HTTPRequestable<DataPostRequest, DataResponse>;
extern template class HTTPRequestable<DataPutRequest, DataResponse>;
extern template class HTTPRequestable<DataPatchRequest, DataResponse>;
extern template class HTTPRequestable<DataRequest, DataResponse>;

}  // namespace corvane
