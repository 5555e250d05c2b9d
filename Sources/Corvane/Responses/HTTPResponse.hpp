#pragma once

#include <functional>
#include <string>
#include <utility>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Corvane/Responses/ResponseRecord.hpp"
#include "Velisand/DataRepresentable.hpp"

namespace corvane {

/// A successful exchange: what the future forms of sending deliver.
///
/// It keeps the facts of the response it was made of, except the platform response: `urlResponse` is null
/// always. Who needs that uses the request's own response type.
template <class Body>
struct HTTPResponse : ResponseRecord {
  template <HTTPResponsable R>
  HTTPResponse(const R& response, Body bodyOfResponse)
      : ResponseRecord{.data = std::invoke(&R::data, response),
                       .headers = std::invoke(&R::headers, response),
                       .status = std::invoke(&R::status, response),
                       .expectedContentLength = std::invoke(&R::expectedContentLength, response),
                       .suggestedFilename = std::invoke(&R::suggestedFilename, response),
                       .mimeType = std::invoke(&R::mimeType, response),
                       .textEncodingName = std::invoke(&R::textEncodingName, response),
                       .url = std::invoke(&R::url, response),
                       .urlResponse = nullptr},
        debugDescription(std::invoke(&R::debugDescription, response)),
        body(std::move(bodyOfResponse)) {}

  /// The body of a request whose body type is made of bytes; `data` is the bytes received.
  const Body& bodyData() const
    requires velisand::DataInitializable<Body>
  {
    return body;
  }

  std::string debugDescription;
  Body body;
};

}  // namespace corvane
