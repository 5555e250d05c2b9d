#pragma once

#include <optional>
#include <vector>

#include "Corvane/Transfers/MultipartFormSection.hpp"
#include "Corvane/Transfers/UploadRequestable.hpp"
#include "Platform/Export.hpp"

namespace corvane {

namespace detail {
/// Makes the sections the body of the request, and says so in its "Content-Type", with the boundary. The encoder
/// encodes the body, but is not named in the headers.
CORVANE_API void addForm(platform::URLRequest& request, const HTTPMediaType& contentType,
                         const std::vector<MultipartFormSection>& sections,
                         const std::optional<HTTPContentEncoderType>& encoder);
}  // namespace detail

/// An upload of a form of the type "multipart/form-data": see `MultipartForm` for how it is laid out, and
/// `UploadRequestable` for what else you write and get.
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
/// The whole body is built in memory before it is sent, files included; upload a file by itself where that is too
/// much. A "Content-Type" in `headers` is replaced. A `contentEncoder` encodes the body, but no "Content-Encoding" is
/// sent: name it in `headers` where the server needs it.
template <class Self, class ResponseType = detail::NoResponse>
class MultipartUploadRequestable : public UploadRequestable<Self, ResponseType, std::vector<MultipartFormSection>> {
 public:
  /// "multipart/form-data"; the boundary is added when the request is made.
  HTTPMediaType contentType() const { return HTTPMediaType::multipartFormData; }

  /// With the form as its body. Throws `HTTPRequestError::malformedURL`, and what the sections and the encoder throw.
  platform::URLRequest urlRequest() const {
    const Self& self = static_cast<const Self&>(*this);
    platform::URLRequest request = this->generateRequest();
    if constexpr (detail::checkBody<Self>()) {
      detail::addForm(request, detail::read(&Self::contentType, self), detail::read(&Self::body, self),
                      detail::read(&Self::contentEncoder, self));
    }
    return request;
  }
};

}  // namespace corvane
