#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Corvane/Responses/HTTPResponsableDefaults.hpp"
#include "Corvane/Responses/HTTPResult.hpp"
#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/TypeName.hpp"
#include "Velisand/JSONCodable.hpp"

namespace corvane {

/// The outcome of a request whose body is decoded from JSON.
template <class Body>
using JSONResult = HTTPResult<Body>;

namespace detail {

/// Why there is nothing to decode; absent when there is.
CORVANE_API std::optional<platform::Error> failureBeforeDecoding(const std::optional<platform::Data>& data,
                                                                 const platform::URLResponse* response,
                                                                 std::optional<platform::Error> error);
/// Logs the exception that is being handled and makes it the response's error. Requires: called in a catch block.
CORVANE_API platform::Error failureOfDecoding(const platform::Data& data, platform::TypeValue type);

/// Whether decoding takes so long that it must not be done where others wait.
CORVANE_API bool isLongToDecode(const std::optional<platform::Data>& data);

template <class Body>
JSONResult<Body> decodedResult(const std::optional<platform::Data>& data, const platform::URLResponse* response,
                               std::optional<platform::Error> error) {
  if (auto failure = failureBeforeDecoding(data, response, std::move(error)))
    return JSONResult<Body>::failure(*std::move(failure));
  try {
    return JSONResult<Body>::success(velisand::fromJSON<Body>(*data));
  } catch (...) {
    return JSONResult<Body>::failure(failureOfDecoding(*data, {&typeid(Body)}));
  }
}

}  // namespace detail

/// The response of a request whose body is decoded from JSON into a `Body`.
///
/// The result is a success for an HTTP response with a status from 200 to 206 whose bytes decode, whatever the
/// request itself accepts. Any other response is a failure, with `data`, `headers` and `status` as received; the
/// body of a response with another status is not decoded.
template <class BodyType>
struct JSONResponse : ResponseRecord, HTTPResponsableDefaults<JSONResponse<BodyType>> {
  /// What the response is decoded into.
  using Body = BodyType;
  /// What `result` is.
  using Result = JSONResult<Body>;

  /// Judges what a finished task hands back: a present error is the failure; an HTTP response counts by its status
  /// (`HTTPResponseError::unacceptableStatus`); its bytes are decoded with the decoder that `Body` names, or one
  /// with default settings. A `DecodingError` becomes `HTTPResponseError::jsonDecoding`, any other error
  /// `HTTPUnknownError::unableToParseJSON`, each with the text that came; without bytes or without an HTTP response
  /// it is `HTTPUnknownError::jsonResponseFailedToConstruct`. The URL is of no use to this type.
  JSONResponse(std::optional<platform::Data> bytes, std::optional<platform::URL>,
               std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error)
      : ResponseRecord(of(response, bytes)),
        result(detail::decodedResult<Body>(bytes, response.get(), std::move(error))) {}
  /// A failure, with what the platform response says.
  JSONResponse(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> bytes,
               platform::Error error)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(Result::failure(std::move(error))) {}
  /// A result that is known already. Requires: the response is not null.
  JSONResponse(Result known, std::optional<platform::Data> bytes,
               std::shared_ptr<const platform::HTTPURLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(std::move(known)) {}
  /// The facts of another response with a result of its own, after mapping its body.
  template <class Other>
  JSONResponse(Result known, const JSONResponse<Other>& response)
      : ResponseRecord(response), result(std::move(known)) {}
  /// All fields as given.
  explicit JSONResponse(Result known, ResponseRecord record = {})
      : ResponseRecord(std::move(record)), result(std::move(known)) {}

  /// Whether making the response of such bytes takes so long that it must not be done where others wait.
  static bool isLongToMake(const std::optional<platform::Data>& bytes) { return detail::isLongToDecode(bytes); }

  /// One human-readable line; see `describe`.
  std::string debugDescription() const { return describe("JSONResponse", *this, result.error()); }

  /// Success with the decoded value, or failure with the error.
  Result result;
};

}  // namespace corvane
