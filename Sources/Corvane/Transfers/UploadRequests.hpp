#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Request/StoredRequest.hpp"
#include "Corvane/Responses/DataResponse.hpp"
#include "Corvane/Transfers/MultipartUploadRequestable.hpp"
#include "Corvane/Transfers/UploadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// What a ready-made upload may add to its URL and body, by name: `FileUploadRequest(url, file, {.method =
/// HTTPMethod::put})`.
struct HTTPUploadOptions {
  /// Leave it out. It keeps braces without names from being taken for options.
  [[no_unique_address]] detail::ByName byName = detail::ByName();
  /// Header fields of this request.
  HTTPHeaders headers = {};
  /// The query; when it is empty, that of the URL stays.
  HTTPQueryItems queryItems = {};
  /// Default: "POST".
  HTTPMethod method = HTTPMethod::post;
  /// Absent: "application/octet-stream" for bytes, for a file the type that its extension stands for.
  std::optional<HTTPMediaType> contentType = std::nullopt;
};

namespace detail {

/// What every ready-made upload stores beside its body. Immutable.
template <class Mixin>
class StoredUpload : public StoredBodyRequest<Mixin> {
 public:
  using typename StoredBodyRequest<Mixin>::Body;

  const HTTPMethod& method() const { return method_; }
  HTTPMediaType contentType() const { return contentType_ ? *contentType_ : Mixin::contentType(); }

 protected:
  StoredUpload(platform::URL url, Body body, HTTPUploadOptions options)
      : StoredBodyRequest<Mixin>(std::move(url), std::move(body), std::move(options.headers),
                                 std::move(options.queryItems)),
        method_(std::move(options.method)),
        contentType_(std::move(options.contentType)) {}

 private:
  HTTPMethod method_;
  std::optional<HTTPMediaType> contentType_;
};

}  // namespace detail

// The ready-made uploads. Each is an immutable value; its response comes as a `DataResponse`.

/// A "POST", or another method, of bytes from memory.
class CORVANE_API DataUploadRequest final
    : public detail::StoredUpload<UploadRequestable<DataUploadRequest, DataResponse>> {
 public:
  /// Sends the bytes as they are.
  DataUploadRequest(platform::URL url, platform::Data body, HTTPUploadOptions options = {})
      : StoredUpload(std::move(url), std::move(body), std::move(options)) {}
};

/// A "POST", or another method, of the content of a file. See `UploadRequestable`.
class CORVANE_API FileUploadRequest final
    : public detail::StoredUpload<UploadRequestable<FileUploadRequest, DataResponse, platform::URL>> {
 public:
  /// `file` is a file URL: `URL::file("/path/to/photo.jpeg")`.
  FileUploadRequest(platform::URL url, platform::URL file, HTTPUploadOptions options = {})
      : StoredUpload(std::move(url), std::move(file), std::move(options)) {}
};

/// A "POST", or another method, of a multipart form: `MultipartUploadRequest(url, {{"title", "Ada"}, {"photo",
/// file}})`.
class CORVANE_API MultipartUploadRequest final
    : public detail::StoredUpload<MultipartUploadRequestable<MultipartUploadRequest, DataResponse>> {
 public:
  /// Sends the sections in their order.
  MultipartUploadRequest(platform::URL url, std::vector<MultipartFormSection> sections, HTTPUploadOptions options = {})
      : StoredUpload(std::move(url), std::move(sections), std::move(options)) {}
};

// Compiled once, in the library.
extern template class HTTPRequestable<DataUploadRequest, DataResponse>;
extern template class HTTPRequestable<FileUploadRequest, DataResponse>;
extern template class HTTPRequestable<MultipartUploadRequest, DataResponse>;
extern template class detail::TransferRequestable<DataUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<FileUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<MultipartUploadRequest, DataResponse, detail::upload>;

}  // namespace corvane
