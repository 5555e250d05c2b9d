#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "Corvane/Request/HTTPBodyProducer.hpp"
#include "Corvane/Request/StoredRequest.hpp"
#include "Corvane/Responses/DataResponse.hpp"
#include "Corvane/Transfers/FormDataUploadRequestable.hpp"
#include "Corvane/Transfers/MultipartUploadRequestable.hpp"
#include "Corvane/Transfers/UploadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// The options of a ready-made upload, by name: `FileUploadRequest(url, file, {.method = HTTPMethod::put})`.
///
///     FileUploadRequest(url, URL::file("ada.jpeg"), {.method = HTTPMethod::put}).send().get();
struct HTTPUploadOptions {
  /// Leave it out. It keeps braces without names from being taken for options.
  [[no_unique_address]] detail::ByName byName = detail::ByName();
  /// Header fields of this request.
  HTTPHeaders headers = {};
  /// The query; if it is empty, the query of the URL is kept.
  HTTPQueryItems queryItems = {};
  /// Default: "POST".
  HTTPMethod method = HTTPMethod::post;
  /// The content type. Absent: "application/octet-stream" for bytes and producers, the type of its extension for a
  /// file, "multipart/form-data" with its boundary for a form.
  std::optional<HTTPMediaType> contentType = std::nullopt;
};

namespace detail {

/// The stored properties of every ready-made upload, except its body. Immutable.
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
///
///     DataUploadRequest("https://api.example.com/notes/7", "text", {.method = HTTPMethod::put}).send().get();
class CORVANE_API DataUploadRequest final
    : public detail::StoredUpload<UploadRequestable<DataUploadRequest, DataResponse>> {
 public:
  /// An upload of these bytes, unchanged.
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

/// A "POST", or another method, of a form as browsers send it: `FormDataUploadRequest(url, {{"title", "Ada"}, {"photo",
/// file}})`.
///
///     FormDataUploadRequest(url, {{"title", "Ada"}, {"photo", URL::file("ada.jpeg")}}).send().get();
class CORVANE_API FormDataUploadRequest final
    : public detail::StoredUpload<FormDataUploadRequestable<FormDataUploadRequest, DataResponse>> {
 public:
  /// Sends the form.
  FormDataUploadRequest(platform::URL url, HTTPFormData form, HTTPUploadOptions options = {})
      : StoredUpload(std::move(url), std::move(form), std::move(options)) {}
};

/// A "POST", or another method, of a body that is produced while it is sent. See `HTTPBodyProducer`.
class CORVANE_API ProducedUploadRequest final
    : public detail::StoredUpload<UploadRequestable<ProducedUploadRequest, DataResponse, HTTPBodyProducer>> {
 public:
  /// Sends what the producer makes.
  ProducedUploadRequest(platform::URL url, HTTPBodyProducer producer, HTTPUploadOptions options = {})
      : StoredUpload(std::move(url), std::move(producer), std::move(options)) {}
};

// Compiled once, in the library.
extern template class HTTPRequestable<DataUploadRequest, DataResponse>;
extern template class HTTPRequestable<FileUploadRequest, DataResponse>;
extern template class HTTPRequestable<MultipartUploadRequest, DataResponse>;
extern template class HTTPRequestable<FormDataUploadRequest, DataResponse>;
extern template class HTTPRequestable<ProducedUploadRequest, DataResponse>;
extern template class detail::TransferRequestable<DataUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<FileUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<MultipartUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<FormDataUploadRequest, DataResponse, detail::upload>;
extern template class detail::TransferRequestable<ProducedUploadRequest, DataResponse, detail::upload>;

}  // namespace corvane
