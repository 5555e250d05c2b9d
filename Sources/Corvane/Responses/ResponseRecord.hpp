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

namespace corvane {

/// The facts of an exchange that every response keeps beside its result.
struct CORVANE_API ResponseRecord {
  /// The body as received, decoded from its content codings.
  std::optional<platform::Data> data;
  /// Absent when the response did not come over HTTP.
  std::optional<platform::HTTPHeaderFields> headers;
  /// `unknown` when the response has a code without a name here, and when there was no response.
  HTTPStatus status = HTTPStatus::unknown;
  /// In bytes; -1 when the server did not announce it.
  std::optional<std::int64_t> expectedContentLength;
  /// A safe name for a file; see `platform::URLResponse::suggestedFilename`.
  std::optional<std::string> suggestedFilename;
  /// The type of the body, lower-case and without parameters.
  std::optional<std::string> mimeType;
  /// The charset parameter of the type, lower-case.
  std::optional<std::string> textEncodingName;
  /// Where the response came from, after redirects.
  std::optional<platform::URL> url;
  /// Null when none arrived.
  std::shared_ptr<const platform::URLResponse> urlResponse;

  /// The bytes, and what the platform response says; every other field absent when there is no response.
  static ResponseRecord of(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> data);
};

/// One human-readable line, e.g. "DataResponse: notFound (404), 9 bytes, text/plain, http://h/a, error: …".
CORVANE_API std::string describe(std::string_view typeName, const ResponseRecord& record, const platform::Error* error);

}  // namespace corvane
