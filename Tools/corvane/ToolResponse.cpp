#include "ToolResponse.hpp"

#include <utility>

using namespace corvane;

namespace {

// The request has judged the status by now: an answer without an error is one that it accepts.
ToolResponse::Result judge(const std::optional<Data>& bytes, const URLResponse* response, std::optional<Error> error) {
  if (error) return ToolResponse::Result::failure(*std::move(error));
  if (!dynamic_cast<const HTTPURLResponse*>(response))
    return ToolResponse::Result::failure(HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
  return ToolResponse::Result::success(bytes);
}

}  // namespace

ToolResponse::ToolResponse(std::optional<Data> bytes, std::optional<URL>, std::shared_ptr<const URLResponse> response,
                           std::optional<Error> error)
    : ResponseRecord(of(response, bytes)), result(judge(bytes, response.get(), std::move(error))) {}

std::string ToolResponse::debugDescription() const { return describe("ToolResponse", *this, result.error()); }

std::optional<int> ToolResponse::statusCode() const {
  const auto* http = dynamic_cast<const HTTPURLResponse*>(urlResponse.get());
  if (!http) return std::nullopt;
  return http->statusCode();
}

bool ToolResponse::isComplete() const {
  if (result.isSuccess()) return true;
  const auto* error = result.error()->as<HTTPResponseError>();
  return error && error->which() == HTTPResponseError::Case::unacceptableStatus && statusCode();
}
