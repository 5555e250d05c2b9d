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

/// The failure because of which nothing can be decoded; absent without a failure.
CORVANE_API std::optional<platform::Error> failureBeforeDecoding(const std::optional<platform::Data>& data,
                                                                 const platform::URLResponse* response,
                                                                 std::optional<platform::Error> error);
/// Logs the exception that is being handled and returns the error of the response. Requires: called in a catch block.
CORVANE_API platform::Error failureOfDecoding(const platform::Data& data, platform::TypeValue type);

/// Whether the bytes are so many that they must not be decoded on the isolation queue.
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
  /// The type that the response is decoded into.
  using Body = BodyType;
  /// The type of `result`.
  using Result = JSONResult<Body>;

  /// Builds the response from the outcome of a task. With an error, the result is that failure. With an HTTP response,
  /// it depends on the status (`HTTPResponseError::unacceptableStatus`), and the bytes are decoded with the decoder
  /// that `Body` names, or with default settings. A `DecodingError` becomes `HTTPResponseError::jsonDecoding`, any
  /// other exception `HTTPUnknownError::unableToParseJSON`, each with the received text. Without bytes or without an
  /// HTTP response, the result is `HTTPUnknownError::jsonResponseFailedToConstruct`. The URL is ignored.
  JSONResponse(std::optional<platform::Data> bytes, std::optional<platform::URL>,
               std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error)
      : ResponseRecord(of(response, bytes)),
        result(detail::decodedResult<Body>(bytes, response.get(), std::move(error))) {}
  /// A failure, with the facts of the platform response.
  JSONResponse(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> bytes,
               platform::Error error)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(Result::failure(std::move(error))) {}
  /// A response with this result. Requires: `response` is not null.
  JSONResponse(Result known, std::optional<platform::Data> bytes,
               std::shared_ptr<const platform::HTTPURLResponse> response)
      : ResponseRecord(of(std::move(response), std::move(bytes))), result(std::move(known)) {}
  /// The facts of another response with a new result, for mapping its body.
  template <class Other>
  JSONResponse(Result known, const JSONResponse<Other>& response)
      : ResponseRecord(response), result(std::move(known)) {}
  /// All fields as given.
  explicit JSONResponse(Result known, ResponseRecord record = {})
      : ResponseRecord(std::move(record)), result(std::move(known)) {}

  /// Whether building the response from these bytes takes long (more than 64 KiB), so that it is built on the global
  /// queue.
  static bool isLongToMake(const std::optional<platform::Data>& bytes) { return detail::isLongToDecode(bytes); }

  /// One human-readable line; see `describe`.
  std::string debugDescription() const { return describe("JSONResponse", *this, result.error()); }

  /// Success with the decoded value, or failure with the error.
  Result result;
};

}  // namespace corvane
