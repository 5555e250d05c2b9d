#include "Platform/Loading/HTTPErrorResponse.hpp"

#include <utility>

namespace platform {

HTTPErrorResponse::HTTPErrorResponse(std::shared_ptr<const HTTPURLResponse> response, std::optional<Data> body)
    : response_(std::move(response)), body_(std::move(body)) {}

std::string HTTPErrorResponse::text() const { return body_ ? body_->utf8().value_or(std::string()) : std::string(); }

}  // namespace platform
