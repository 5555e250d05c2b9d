#pragma once

#include <concepts>
#include <memory>
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

namespace detail {

/// Null for a response type that has none.
template <class R>
std::shared_ptr<const platform::TaskMetrics> metricsOf(const R& response) {
  if constexpr (std::derived_from<R, ResponseRecord>) {
    return response.metrics;
  } else {
    return nullptr;
  }
}

}  // namespace detail

/// A successful response: the value of the futures that `send` returns.
///
/// It has the facts of the response that it was made from, except the platform response: `urlResponse` is always null.
/// Use a completion, with the request's own response type, to get that.
template <class Body>
struct CORVANE_API HTTPResponse : ResponseRecord {
  /// Copies the facts of a response, with a body that was taken from it.
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
                       .urlResponse = nullptr,
                       .metrics = detail::metricsOf(response)},
        debugDescription(detail::read(&R::debugDescription, response)),
        body(std::move(bodyOfResponse)) {}

  HTTPResponse(const HTTPResponse& other)
    requires std::copy_constructible<Body>;
  HTTPResponse(HTTPResponse&& other) noexcept;
  HTTPResponse& operator=(const HTTPResponse& other)
    requires std::copyable<Body>;
  HTTPResponse& operator=(HTTPResponse&& other) noexcept;
  ~HTTPResponse();

  /// The body, for a body type that is constructed from bytes. `data` is the bytes as received.
  const Body& bodyData() const
    requires velisand::DataInitializable<Body>
  {
    return body;
  }

  /// The body, for a body type that is decoded from JSON.
  const Body& json() const
    requires velisand::JSONDecodable<Body>
  {
    return body;
  }

  /// The body of a download: the URL of the file, or the value made from the file.
  const Body& fileURL() const
    requires velisand::FileInitializable<Body>
  {
    return body;
  }

  /// The body, for an image.
  const Body& image() const
    requires std::same_as<Body, platform::UIImage>
  {
    return body;
  }

  /// A human-readable description of the response.
  std::string debugDescription;
  /// The body; `bodyData`, `json`, `fileURL` and `image` are more specific names for it.
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
