#include "Corvane/Request/Detail/SendFuture.hpp"

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Transport/Detail/ErrorResponse.hpp"

namespace corvane::detail {

platform::Error noContent(const std::shared_ptr<const platform::URLResponse>& response,
                          const std::optional<platform::Data>& data) {
  platform::Error error = HTTPResponseError::noContent();
  attachResponse(&error, response, data);
  return error;
}

}  // namespace corvane::detail
