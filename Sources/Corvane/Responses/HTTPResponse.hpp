#pragma once

#include <concepts>
#include <string>
#include <utility>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Export.hpp"
#include "Velisand/DataRepresentable.hpp"
#include "Velisand/FileRepresentable.hpp"

namespace platform {
class UIImage;
}

namespace corvane {

/// A successful exchange: what the future forms of sending deliver.
///
/// It keeps the facts of the response it was made of, except the platform response: `urlResponse` is null
/// always. Use the request's own response type for that.
template <class Body>
struct CORVANE_API HTTPResponse : ResponseRecord {
  /// Takes over the facts of a response, with a body that was taken from it.
  template <HTTPResponsable R>
  HTTPResponse(const R& response, Body bodyOfResponse)
      : ResponseRecord{.data = detail::read(&R::data, response),
                       .headers = detail::read(&R::headers, response),
                       .status = detail::read(&R::status, response),
                       .expectedContentLength = detail::read(&R::expectedContentLength, response),
                       .suggestedFilename = detail::read(&R::suggestedFilename, response),
                       .mimeType = detail::read(&R::mimeType, response),
                       .textEncodingName = detail::read(&R::textEncodingName, response),
                       .url = detail::read(&R::url, response),
                       .urlResponse = nullptr},
        debugDescription(detail::read(&R::debugDescription, response)),
        body(std::move(bodyOfResponse)) {}

  HTTPResponse(const HTTPResponse& other)
    requires std::copy_constructible<Body>;
  HTTPResponse(HTTPResponse&& other) noexcept;
  HTTPResponse& operator=(const HTTPResponse& other)
    requires std::copyable<Body>;
  HTTPResponse& operator=(HTTPResponse&& other) noexcept;
  ~HTTPResponse();

  /// The body of a request whose body type is made of bytes; `data` is the bytes received.
  const Body& bodyData() const
    requires velisand::DataInitializable<Body>
  {
    return body;
  }

  /// The body of a request whose body type is decoded from JSON.
  const Body& json() const
    requires velisand::JSONDecodable<Body>
  {
    return body;
  }

  /// The body of a request whose response is downloaded to a file: where the file is, or what was made of it.
  const Body& fileURL() const
    requires velisand::FileInitializable<Body>
  {
    return body;
  }

  /// The body of a request for an image.
  const Body& image() const
    requires std::same_as<Body, platform::UIImage>
  {
    return body;
  }

  /// A human-readable description of the response.
  std::string debugDescription;
  /// The body; `bodyData`, `json`, `fileURL` and `image` are names for it that say what it is.
  Body body;
};

// Out of the class, so that the commonest kind is compiled once, in the library.
template <class Body>
HTTPResponse<Body>::HTTPResponse(const HTTPResponse&)
  requires std::copy_constructible<Body>
= default;
template <class Body>
HTTPResponse<Body>::HTTPResponse(HTTPResponse&&) noexcept = default;
template <class Body>
HTTPResponse<Body>& HTTPResponse<Body>::operator=(const HTTPResponse&)
  requires std::copyable<Body>
= default;
template <class Body>
HTTPResponse<Body>& HTTPResponse<Body>::operator=(HTTPResponse&&) noexcept = default;
template <class Body>
HTTPResponse<Body>::~HTTPResponse() = default;

extern template struct HTTPResponse<platform::Data>;

}  // namespace corvane
