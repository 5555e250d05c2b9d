#pragma once

#include <optional>

#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/HTTPErrorResponse.hpp"
#include "Velisand/JSONCodable.hpp"

namespace corvane {

namespace detail {

template <class T>
std::optional<T> decodedOrNone(const std::optional<platform::Data>& bytes) {
  if (!bytes) return std::nullopt;
  try {
    return velisand::fromJSON<T>(*bytes);
  } catch (const platform::DecodingError&) {
    return std::nullopt;  // as the page of a proxy, where the service has JSON
  }
}

}  // namespace detail

template <class T>
std::optional<T> ResponseRecord::decodeError() const {
  return detail::decodedOrNone<T>(data);
}

/// The body of the response that the error came with, as JSON of that type: with the decoder that the type names, or
/// one with default settings. Absent when there was no response or no body, and when that does not decode to the type.
///
///     if (const auto problem = decodeError<ProblemDetails>(error)) show(problem->title);
template <class T>
std::optional<T> decodeError(const platform::Error& error) {
  return error.response() ? detail::decodedOrNone<T>(error.response()->body()) : std::nullopt;
}

}  // namespace corvane
