#include "ToolResponse.hpp"

#include <filesystem>
#include <system_error>
#include <utility>

using namespace corvane;

namespace {

// The request has judged the status by now: a response without an error is one that it accepts.
template <class Body>
HTTPResult<Body> judge(const std::optional<Body>& body, const URLResponse* response, std::optional<Error> error) {
  if (error) return HTTPResult<Body>::failure(*std::move(error));
  if (!dynamic_cast<const HTTPURLResponse*>(response))
    return HTTPResult<Body>::failure(HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
  return HTTPResult<Body>::success(body);
}

std::uintmax_t sizeOf(const URL& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file.fileSystemPath(), error);
  return error ? 0 : size;
}

ToolResponse::Result withoutBody(const ToolDownloadResponse::Result& result) {
  if (const Error* error = result.error()) return ToolResponse::Result::failure(*error);
  return ToolResponse::Result::success(std::nullopt);
}

}  // namespace

ToolDownloadResponse::ToolDownloadResponse(std::optional<Data> bytes, std::optional<URL> file,
                                           std::shared_ptr<const URLResponse> response, std::optional<Error> error)
    : ResponseRecord(of(response, bytes)), result(judge(file, response.get(), std::move(error))) {
  if (result.isSuccess() && status == HTTPStatus::noContent) result = Result::success(std::nullopt);
}

std::string ToolDownloadResponse::debugDescription() const {
  return describe("ToolDownloadResponse", *this, result.error());
}

ToolResponse::ToolResponse(std::optional<Data> bytes, std::optional<URL>, std::shared_ptr<const URLResponse> response,
                           std::optional<Error> error)
    : ResponseRecord(of(response, bytes)),
      result(judge(bytes, response.get(), std::move(error))),
      bodyBytes(bytes ? bytes->count() : 0) {}

ToolResponse::ToolResponse(const ToolDownloadResponse& download)
    : ResponseRecord(download), result(withoutBody(download.result)) {
  const URL* place = download.result.url();
  if (!place) return;
  file = *place;
  bodyBytes = sizeOf(*place);
}

std::string ToolResponse::debugDescription() const { return describe("ToolResponse", *this, result.error()); }

bool ToolResponse::isComplete() const {
  if (result.isSuccess()) return true;
  const auto* error = result.error()->as<HTTPResponseError>();
  return error && error->which() == HTTPResponseError::Case::unacceptableStatus && statusCode();
}
