#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Corvane/Responses/HTTPResponsableDefaults.hpp"
#include "Corvane/Responses/HTTPResult.hpp"
#include "Corvane/Responses/ResponseRecord.hpp"
#include "Platform/Export.hpp"

namespace corvane {

/// The outcome of a request whose body is kept as bytes.
using DataResult = HTTPResult<platform::Data>;

/// The response of a request whose body is kept as bytes.
///
/// The result is a success for an HTTP response with a status from 200 to 206, whatever the request itself
/// accepts; its body is the bytes of `data`, not a copy of them. Any other response is a failure, with `data`,
/// `headers` and `status` as received.
struct CORVANE_API DataResponse : ResponseRecord, HTTPResponsableDefaults<DataResponse> {
  /// The type of `result`.
  using Result = DataResult;

  /// Builds the response from the outcome of a task. With an error, the result is that failure. With an HTTP response,
  /// it depends on the status (`HTTPResponseError::unacceptableStatus`). Without either, it is
  /// `HTTPUnknownError::dataResponseFailedToConstruct`. The URL is ignored.
  DataResponse(std::optional<platform::Data> data, std::optional<platform::URL> url,
               std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Error> error);
  /// A failure, with the facts of the platform response.
  DataResponse(std::shared_ptr<const platform::URLResponse> response, std::optional<platform::Data> data,
               platform::Error error);
  /// A response with this result. Requires: `response` is not null.
  DataResponse(DataResult result, std::optional<platform::Data> data,
               std::shared_ptr<const platform::HTTPURLResponse> response);
  /// All fields as given: `DataResponse(DataResult::success(body), {.data = body, .status = HTTPStatus::created})`.
  explicit DataResponse(DataResult result, ResponseRecord record = {});

  /// One human-readable line; see `describe`.
  std::string debugDescription() const;

  /// Success with the bytes, or failure with the error.
  DataResult result;
};

}  // namespace corvane
