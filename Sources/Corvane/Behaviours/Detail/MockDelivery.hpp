#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Transport/Detail/SendPipeline.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace corvane::detail {

/// What a mock says of the response that it stands for.
struct CannedResponse {
  std::optional<platform::URL> url;
  std::optional<HTTPHeaders> headers;
  HTTPStatus status = HTTPStatus::success;
  // Each takes the place of what the headers say.
  std::optional<std::int64_t> expectedContentLength;
  std::optional<std::string> suggestedFilename;
  std::optional<std::string> mimeType;
  std::optional<std::string> textEncodingName;
};

/// Where a response seems to come from whose mock has no URL.
CORVANE_API const platform::URL& fallbackMockURL();

/// A response over "1.1" as a server would have given it.
CORVANE_API std::shared_ptr<const platform::HTTPURLResponse> platformResponse(CannedResponse canned);

/// Its own error, else `HTTPResponseError::unacceptableStatus` for a status that the request does not accept.
CORVANE_API std::optional<platform::Error> computedError(std::optional<platform::Error> own, HTTPStatus status,
                                                         bool isAcceptable);

/// The one serial queue on which all mocks of the process answer.
CORVANE_API const platform::DispatchQueue& mockBackgroundQueue();

enum class MockBody { bytes, file };

/// Answers in place of the network: after `responseTime` seconds `makeOutcome` is called on `mockBackgroundQueue`, and
/// from there on the response goes the way of any other. For a download the bytes are written to a fresh temporary file
/// first; the process ends when that fails. What the hooks of the request do, and its cancellation, is unchanged.
CORVANE_API void respondFromMock(std::shared_ptr<SendExchange> exchange, MockBody body,
                                 platform::UniqueFunction<double()> responseTime,
                                 platform::UniqueFunction<TaskOutcome()> makeOutcome);

}  // namespace corvane::detail
