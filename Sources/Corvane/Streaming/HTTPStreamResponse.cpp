#include "Corvane/Streaming/HTTPStreamResponse.hpp"

#include <utility>

#include "Corvane/Transport/Detail/ErrorResponse.hpp"

namespace corvane {

using platform::Data;
using platform::Error;
using platform::URLResponse;

namespace {

HTTPStreamResponse::Result resultOfStream(std::optional<Error> error,
                                          const std::shared_ptr<const URLResponse>& response,
                                          const std::optional<Data>& bytes) {
  if (!error) return HTTPStreamResponse::Result::success();
  detail::attachResponse(&*error, response, bytes);
  return HTTPStreamResponse::Result::failure(std::move(*error));
}

}  // namespace

HTTPStreamResponse::HTTPStreamResponse(std::optional<Data> bytes, std::optional<platform::URL>,
                                       std::shared_ptr<const URLResponse> response, std::optional<Error> error)
    : ResponseRecord(of(response, error ? bytes : std::nullopt)),
      result(resultOfStream(std::move(error), response, bytes)) {}

std::string HTTPStreamResponse::debugDescription() const {
  return describe("HTTPStreamResponse", *this, result.error());
}

}  // namespace corvane
