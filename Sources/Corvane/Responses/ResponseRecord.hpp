#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Corvane/HTTPStatus.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform {
struct TaskMetrics;
}

namespace corvane {

/// The facts of an exchange that every response has in addition to its result.
struct CORVANE_API ResponseRecord {
  /// The body as received, decoded from its content codings. Absent when none arrived.
  std::optional<platform::Data> data;
  /// Absent when the response did not come over HTTP.
  std::optional<platform::HTTPHeaderFields> headers;
  /// `unknown` for a code that is not in the list of `HTTPStatus`, and when there was no response.
  HTTPStatus status = HTTPStatus::unknown;
  /// The announced length of the body in bytes, before content decoding; -1 if the server announced none. Absent
  /// without a response.
  std::optional<std::int64_t> expectedContentLength;
  /// A safe name for a file; see `platform::URLResponse::suggestedFilename`.
  std::optional<std::string> suggestedFilename;
  /// The media type of the body, in lower case and without parameters.
  std::optional<std::string> mimeType;
  /// The charset parameter of the media type, in lower case.
  std::optional<std::string> textEncodingName;
  /// The URL of the response, after redirects.
  std::optional<platform::URL> url;
  /// The platform's response. Null when none arrived.
  std::shared_ptr<const platform::URLResponse> urlResponse;
  /// What the exchange did and when (Corvane/Insight/HTTPMetrics.hpp). Null if it could not begin, for mocks, and for a
  /// stream that its reader left before the end.
  std::shared_ptr<const platform::TaskMetrics> metrics = nullptr;

  /// The status code that the server sent, also if `status` is `unknown`. Absent if there was no response.
  std::optional<int> statusCode() const { return status.statusCode(); }
  /// Decodes `data` as JSON into a type that describes errors: your own, or `ProblemDetails`. Uses the decoder that the
  /// type names, or one with default settings. Absent if there are no bytes, or if they do not decode to the type.
  /// Defined in DecodeError.hpp.
  template <class T>
  std::optional<T> decodeError() const;

  /// A record with the bytes and the facts of the platform response. Without a response, all other fields are absent.
  static ResponseRecord of(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> data);
};

/// One human-readable line, e.g. "DataResponse: notFound (404), 9 bytes, text/plain, http://h/a, error: …".
CORVANE_API std::string describe(std::string_view typeName, const ResponseRecord& record, const platform::Error* error);

}  // namespace corvane
