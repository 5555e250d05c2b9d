#pragma once

#include <optional>
#include <vector>

#include "Corvane/Transfers/MultipartFormSection.hpp"
#include "Corvane/Transfers/UploadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {
/// Sets the sections as the body of the request, and sets "Content-Type" with the boundary. The encoder encodes the
/// body, but "Content-Encoding" is not set.
CORVANE_API void addForm(platform::URLRequest& request, const HTTPMediaType& contentType,
                         const std::vector<MultipartFormSection>& sections,
                         const std::optional<HTTPContentEncoderType>& encoder);
}  // namespace detail

/// An upload of a form of the type "multipart/form-data". `MultipartForm` describes the layout, `UploadRequestable` the
/// other properties and functions.
///
///     struct SendPhoto : MultipartUploadRequestable<SendPhoto, JSONResponse<Photo>> {
///       std::string title;
///       URL file;
///       URL baseURL = "https://example.com";
///       std::string path = "/photos";
///       HTTPHeaders sharedHeaders() const { return {}; }
///       std::vector<MultipartFormSection> body() const { return {{"title", title}, {"photo", file}}; }
///     };
///
/// The whole body is built in memory before it is sent, files included; upload large files on their own. A
/// "Content-Type" in `headers` is replaced. A `contentEncoder` encodes the body, but does not set "Content-Encoding":
/// add it to `headers` if the server needs it.
template <class Self, class ResponseType = detail::NoResponse>
class MultipartUploadRequestable : public UploadRequestable<Self, ResponseType, std::vector<MultipartFormSection>> {
 public:
  /// "multipart/form-data"; the boundary is added when the request is made.
  HTTPMediaType contentType() const { return HTTPMediaType::multipartFormData; }

  /// The request with the form as its body. Throws `HTTPRequestError::malformedURL`, and exceptions from the sections
  /// and the encoder.
  platform::URLRequest urlRequest() const {
    const Self& self = static_cast<const Self&>(*this);
    platform::URLRequest request = this->generateRequest();
    if constexpr (detail::checkBody<Self>()) {
      detail::addForm(request, detail::requirement::contentType(self), detail::requirement::body(self),
                      detail::requirement::contentEncoder(self));
    }
    return request;
  }
};

}  // namespace corvane
